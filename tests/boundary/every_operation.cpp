// The C program again, as C++11.
#include "every_operation.c"
