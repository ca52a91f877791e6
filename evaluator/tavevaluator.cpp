#include "evaluator/tavevaluator.h"

TavEvaluator::Exception::Exception(std::string text) : _text(std::make_shared<const std::string>(std::move(text))) {}
