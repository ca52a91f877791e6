#include "same_again.h"

#include <cmath>

#include "model_text.h"
#include "nl_text.h"

namespace {

/// MPS says the second bound of a range by a difference, which may cost the last place of one bound.
void alignRanges(TavFileModel& model, const TavFileModel& to) {
  const auto align = [](double& value, double wanted) {
    if (std::fabs(value - wanted) <= std::fabs(wanted) * 0x1p-51) value = wanted;
  };
  for (std::size_t i = 0; i < model.rows.size() && i < to.rows.size(); ++i) {
    align(model.rows[i].lower, to.rows[i].lower);
    align(model.rows[i].upper, to.rows[i].upper);
  }
}

}  // namespace

std::string wrongWith(std::string_view bytes, TavFileFormat format) {
  TavReadOptions options;
  options.format = format;
  options.decompressedLimit = 1 << 20;
  TavFileModel model;
  std::string text;
  try {
    model = TavReadModelText(bytes, "fuzz", options);
    if (format == TavFileFormat::Nl) markItems(model);
    text = TavWriteModelText(model, format);
  } catch (const TavFileError&) {
    return {};  // refused, or a name that the writer's form of the format has not
  }
  try {
    TavFileModel back = TavReadModelText(text, "written", options);
    if (format == TavFileFormat::Mps) alignRanges(back, model);
    const auto textIn = format == TavFileFormat::Nl ? nlTextOf : textOf;
    const std::string before = textIn(model), after = textIn(back);
    return before == after ? "" : "read:    " + before + "\nwritten: " + after + "\n" + text;
  } catch (const TavFileError& error) {
    return std::string(error.what()) + "\n" + text;
  }
}
