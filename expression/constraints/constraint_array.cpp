#include "expression/tavexpression.h"

const tavdetail::CountTexts tavdetail::kConstraintArrayTexts = {{
    "TavConstraintArray::TavConstraintArray: n !=1",
    "TavConstraintArray::TavConstraintArray: n !=2",
    "TavConstraintArray::TavConstraintArray: n !=3",
    "TavConstraintArray::TavConstraintArray: n !=4",
    "TavConstraintArray::TavConstraintArray: n !=5",
    "TavConstraintArray::TavConstraintArray: n !=6",
    "TavConstraintArray::TavConstraintArray: n !=7",
    "TavConstraintArray::TavConstraintArray: n !=8",
    "TavConstraintArray::TavConstraintArray: n !=9",
    "TavConstraintArray::TavConstraintArray: n !=10",
}};
