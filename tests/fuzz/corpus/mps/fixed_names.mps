NAME          fixed names
ROWS
 N  my cost
 L  a row
COLUMNS
    my var    my cost            1.0   a row              2.0
RHS
    RHS       a row              4.0
BOUNDS
 UP BND       my var            1e30
ENDATA
