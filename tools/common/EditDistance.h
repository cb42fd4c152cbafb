#ifndef WYERRLOG_TOOLS_COMMON_EDITDISTANCE_H
#define WYERRLOG_TOOLS_COMMON_EDITDISTANCE_H

// The programs correct misspelt words as the library does.
#include "wyerrlog/internal/WyEditDistance.h"

#endif
