#pragma once
/// Options of Ipopt, which Bonmin shares.

#include <IpOptionsList.hpp>
#include <IpRegOptions.hpp>

#include "solve/engines/engine.h"

namespace tavsolve {

/// Sets the options that the user gives by name. Throws InputError, naming the engine, for an unknown one and for a
/// value that does not fit.
void setOptions(Ipopt::OptionsList& options, Ipopt::RegisteredOptions& registered, const Controls& controls,
                const char* engine);

/// Sets tolerances and verbosity.
void setCommonOptions(Ipopt::OptionsList& options, const Controls& controls);

}  // namespace tavsolve
