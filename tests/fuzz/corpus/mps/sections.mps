* every kind of row, objective sections, bounds of all types
NAME          sections
OBJSENSE
    MAX
ROWS
 N  cost
 N  other
 L  lim
 G  low
 E  eq
 E  eq2
COLUMNS
    x         cost        1.5   lim         1
    x         low        -2
    M1        'MARKER'                 'INTORG'
    i         cost         -1   lim         2.5D1
    i         eq          1
    j         low          1
    M2        'MARKER'                 'INTEND'
    y         cost     1e-300   eq          3
    y         eq2         1
    z         low          4   other       1
    s         lim          1
    t         lim          1
RHS
    rhs       cost        -7   lim        10
    rhs       low         -3   eq          4
RANGES
    rng       lim          2   low         5
    rng       eq          -1   eq2         6
BOUNDS
 UP bnd       x           -1
 LO bnd       y            2
 MI bnd       z
 FX bnd       i            3
 BV bnd       j
 SC bnd       s            8
 SI bnd       t            9
ENDATA
