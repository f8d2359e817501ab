#pragma once
#include "filters/cBitFilter.h"
