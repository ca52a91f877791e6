#include "solve/engines/ipopt_options.h"

#include <charconv>
#include <cmath>

#include "solve/engines/option_errors.h"

namespace tavsolve {

namespace {

template <class T>
bool read(const std::string& text, T& value) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && end == text.data() + text.size();
}

/// Asks the option first: the list prints its refusals on standard output.
bool set(Ipopt::OptionsList& options, const Ipopt::RegisteredOption& option, const std::string& name,
         const std::string& value) {
  int whole = 0;
  double number = 0.0;
  switch (option.Type()) {
    case Ipopt::OT_Number:
      return read(value, number) && option.IsValidNumberSetting(number) && options.SetNumericValue(name, number);
    case Ipopt::OT_Integer:
      return read(value, whole) && option.IsValidIntegerSetting(whole) && options.SetIntegerValue(name, whole);
    case Ipopt::OT_String:
    case Ipopt::OT_Unknown:
      break;
  }
  return option.IsValidStringSetting(value) && options.SetStringValue(name, value);
}

}  // namespace

void setOptions(Ipopt::OptionsList& options, Ipopt::RegisteredOptions& registered, const Controls& controls,
                const char* engine) {
  for (const auto& [name, value] : controls.options) {
    const std::string known = name.starts_with("bonmin.") ? name.substr(7) : name;
    const Ipopt::SmartPtr<const Ipopt::RegisteredOption> option = registered.GetOption(known);
    if (!IsValid(option)) throw noOption(engine, name);
    if (!set(options, *option, name, value)) throw noValue(engine, name, value);
  }
}

void setCommonOptions(Ipopt::OptionsList& options, const Controls& controls) {
  options.SetIntegerValue("print_level", controls.log.empty() ? 0 : 5);
  options.SetStringValue("sb", "yes");  // no banner
  // What is a violation of rows for the user is one for the solver, also where it scales them.
  options.SetNumericValue("tol", std::min(1e-8, controls.tolerance));
  options.SetNumericValue("constr_viol_tol", controls.tolerance);
  options.SetNumericValue("acceptable_constr_viol_tol", controls.tolerance);
  options.SetStringValue("honor_original_bounds", "no");  // see NonLinearEngineI::takeSolution
}

}  // namespace tavsolve
