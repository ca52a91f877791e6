#pragma once
/// Growable arrays for the large parts of a file model.

#include "host/large_array.h"

/// An array of a file model.
template <class T>
using TavFileArray = TavLargeArray<T>;
