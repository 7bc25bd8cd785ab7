// The part of helpers_fuzzer for batch lists and selections.
#pragma once

#include "FuzzInput.h"

void CheckBatchList(INPUT& input);
void CheckPartialMode(INPUT& input);
