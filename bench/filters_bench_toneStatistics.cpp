#include "filterBench.h"
