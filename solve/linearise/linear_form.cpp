#include "solve/linearise/linear_form.h"

#include <algorithm>

namespace tavlinear {

void LinearForm::merge() {
  const auto before = [](const Term& a, const Term& b) { return a.column < b.column; };
  if (!std::is_sorted(terms.begin(), terms.end(), before)) std::stable_sort(terms.begin(), terms.end(), before);
  std::size_t kept = 0;
  for (std::size_t k = 0; k < terms.size();) {
    Term merged = terms[k];
    for (++k; k < terms.size() && terms[k].column == merged.column; ++k) merged.coef += terms[k].coef;
    if (merged.coef != 0.0) terms[kept++] = merged;
  }
  terms.resize(kept);
}

}  // namespace tavlinear
