// UPoint is header-only; this unit keeps one source file per class.
#include "upoint.h"
