// Umbrella header: every public class family of the library.
#pragma once

#include <Kestrel/CombinatorialCrossEntropyOptimization.h>
