#include "host/version.h"

int TavGetVersion() noexcept { return TAV_VERSION; }
