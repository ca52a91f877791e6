#pragma once
/// One function object of several, for std::visit.

namespace tavsolve {

template <class... F>
struct Overloaded : F... {
  using F::operator()...;
};
template <class... F>
Overloaded(F...) -> Overloaded<F...>;

}  // namespace tavsolve
