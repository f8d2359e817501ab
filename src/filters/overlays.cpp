#include "filters/cBitFilter.h"
#include "filters/filterFrame.h"
#include "filters/filterMath.h"

namespace velmar {} // namespace velmar
