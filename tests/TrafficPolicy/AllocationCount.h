// Counts what this program allocates, in all threads; a test compares two counts.
#pragma once

#include "orb/Types.h"

// How often operator new was called until now.
U64 allocationCount();
