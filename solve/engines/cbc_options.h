#pragma once
/// The options of CBC's command line.

#include <string>
#include <vector>

#include "solve/engines/engine.h"

namespace tavsolve {

/// Throws InputError for an option that CBC does not have, for one of its commands, and for a value that the option
/// does not take: CBC itself ignores them.
void checkCbcOptions(const Controls& controls);

/// The words of CBC's command line that say what the controls say. `careful` leaves out what CBC is known to break down
/// in.
std::vector<std::string> cbcWords(const Controls& controls, double seconds, bool careful);

}  // namespace tavsolve
