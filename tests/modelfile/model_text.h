#pragma once
/// A file model as text, for comparisons, and random models.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "modelfile/tavmodelfile.h"

/// Everything a model says, one part behind the other: ` | ` between them, numbers so that they read back. Variables
/// are listed by name; those that are continuous from 0 to infinity are not listed again.
std::string textOf(const TavFileModel& model);

/// What a random model may have beside linear rows.
struct RandomFileModelParts {
  bool products = true;
  bool sets = true;
  bool indicators = true;
  bool kinds = true;
  bool infeasibleRows = false;
};

/// A model that depends on the seed alone. All items have names, with every character that is legal in all formats.
TavFileModel randomFileModel(std::uint64_t seed, const RandomFileModelParts& parts);

/// The folder of public and malformed files, which is beside a checkout of the developers or named by TAV_SHARED_DATA.
inline std::filesystem::path sharedData() {
  const char* folder = std::getenv("TAV_SHARED_DATA");
  return folder ? folder : TAV_SOURCE_DIR "/../shared/data";
}
