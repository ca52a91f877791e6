#pragma once
/// An interval.

struct Range {
  double least, most;
};
