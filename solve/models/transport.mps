* The transport problem: ship cases from two canning plants to three markets
* at least freight (thousands of dollars). Optimum 153.675.
* George B. Dantzig, Linear Programming and Extensions, 1963, chapter 3.
NAME          TRANSPORT
ROWS
 N  FREIGHT
 L  SEATTLE
 L  SANDIEGO
 G  NEWYORK
 G  CHICAGO
 G  TOPEKA
COLUMNS
    SE_NY     FREIGHT          0.225   SEATTLE              1
    SE_NY     NEWYORK              1
    SE_CH     FREIGHT          0.153   SEATTLE              1
    SE_CH     CHICAGO              1
    SE_TO     FREIGHT          0.162   SEATTLE              1
    SE_TO     TOPEKA               1
    SD_NY     FREIGHT          0.225   SANDIEGO             1
    SD_NY     NEWYORK              1
    SD_CH     FREIGHT          0.162   SANDIEGO             1
    SD_CH     CHICAGO              1
    SD_TO     FREIGHT          0.126   SANDIEGO             1
    SD_TO     TOPEKA               1
RHS
    RHS       SEATTLE            350   SANDIEGO           600
    RHS       NEWYORK            325   CHICAGO            300
    RHS       TOPEKA             275
ENDATA
