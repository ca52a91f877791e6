NAME quadratic FREE
OBJSENSE MAX
ROWS
 N obj
 L c
 L d
COLUMNS
 x obj 1 c 1
 y c 2 d 1
 b d 1
RHS
 RHS c 4 d 3
BOUNDS
 FR BND x
 PL BND y
 LI BND b 0
 UI BND b 1
QUADOBJ
 x x 2
 x y -1
 y y 4
QCMATRIX c
 x x 1
 x y 0.5
 y x 0.5
SOS
 S1 SOS s1
 x 1
 y 2
 S2 SOS s2
 x 1
 y 2
 b 3
INDICATORS
 IF d b 1
ENDATA
