#include "filters/filterFixtures.h"
