#include "host/algorithm.h"

#include <algorithm>

#include "host/environment.h"

TavAlgorithmI::TavAlgorithmI(TavEnvI* env) : _env(env) { env->_algorithms.push_back(this); }

TavAlgorithmI::~TavAlgorithmI() {
  if (_env) std::erase(_env->_algorithms, this);
}

double TavAlgorithmI::getValue(const TavIntExprI*) const {
  throw TavAlgorithm::Exception("the algorithm has no value for this expression", 0);
}

bool TavAlgorithmI::hasExtracted(const TavExtractableI*) const { return false; }

void TavAlgorithmI::change(const TavChange& change) { change.applyToCP(TavAlgorithm(this), nullptr); }

void TavAlgorithmI::forget(TavExtractableI*) {}
