#include "filters/documentGeometry.h"
