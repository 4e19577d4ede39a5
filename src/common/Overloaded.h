// Gives every alternative of a variant its own lambda, for std::visit.
#pragma once

namespace ods {

template <typename... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

}  // namespace ods
