* ever   MAX
ROWS
 L  lim
 G  low
 E  eq
 E  eq2
COLUMNS
    x               low        -2
    M1        'MARKER'                 'INTORG'
    i    eq          0
    j         low          1
    M2        'MARKER'                 'INTEND'
    y            eq2         1
    z        lim          1
    t         lim          1
RHS
    lim        20
    rhs    low         -0000000000000000000000037022700000000007554037774976111956
BOUNDS
 UP bnd        y            0
 MI bnd       z
 FX bnd       i         9
ENDATA
