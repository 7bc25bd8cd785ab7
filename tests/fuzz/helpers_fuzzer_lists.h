// The part of helpers_fuzzer that is about batch lists and selections.
#pragma once

#include "FuzzInput.h"

void CheckBatchList(INPUT& input);
void CheckPartialMode(INPUT& input);
