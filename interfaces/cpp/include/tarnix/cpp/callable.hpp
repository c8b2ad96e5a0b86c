#pragma once
// References to the callables of a solve. They own nothing: what they refer to lives as long as the
// solve does, which a callable written in the call itself always does.

#include <cstddef>
#include <type_traits>
#include <utility>

namespace tarnix {

class Point;
class Values;
class Batch;
class Gradients;

namespace detail {

template <class F, class Self>
using Foreign = std::enable_if_t<!std::is_base_of_v<Self, std::decay_t<F>>>;

/// Whether there is something to call: a null pointer or an empty std::function is nothing.
template <class F>
bool present(const F& callable) {
  if constexpr (std::is_pointer_v<F> || std::is_constructible_v<F, std::nullptr_t>)
    return callable != nullptr;
  else
    return true;
}

template <class Signature>
class FunctionRef;

template <class R, class... Arguments>
class FunctionRef<R(Arguments...)> {
 public:
  FunctionRef() = default;
  FunctionRef(std::nullptr_t) {}
  template <class F, class = Foreign<F, FunctionRef>,
            class = std::enable_if_t<std::is_invocable_r_v<R, F&, Arguments...>>>
  FunctionRef(F&& callable) {
    using Callable = std::remove_reference_t<F>;
    if constexpr (std::is_function_v<Callable>) {
      function_ = reinterpret_cast<void (*)()>(&callable);
      call_ = [](const FunctionRef& self, Arguments... arguments) -> R {
        return reinterpret_cast<Callable*>(self.function_)(std::forward<Arguments>(arguments)...);
      };
    } else if (present(callable)) {
      object_ = const_cast<void*>(static_cast<const void*>(std::addressof(callable)));
      call_ = [](const FunctionRef& self, Arguments... arguments) -> R {
        return (*static_cast<Callable*>(self.object_))(std::forward<Arguments>(arguments)...);
      };
    }
  }

  explicit operator bool() const { return call_ != nullptr; }
  R operator()(Arguments... arguments) const {
    return call_(*this, std::forward<Arguments>(arguments)...);
  }

 private:
  void* object_ = nullptr;
  void (*function_)() = nullptr;
  R (*call_)(const FunctionRef&, Arguments...) = nullptr;
};

}  // namespace detail

/// The callable that evaluates the problem, in either form:
///   void(const Point&, Values&)  one design: reads the point, fills every value. It is called on
///                                the thread of the solve, or with Options::threads on several.
///   void(Batch&)                 several designs, in any order or at the same time. It is called
///                                on the thread of the solve.
/// Either may throw: the exception reaches the caller of solve() unchanged.
class Analysis {
 public:
  using One = detail::FunctionRef<void(const Point&, Values&)>;
  using Many = detail::FunctionRef<void(Batch&)>;

  Analysis(std::nullptr_t) {}
  template <class F, class = detail::Foreign<F, Analysis>,
            class = std::enable_if_t<std::is_constructible_v<One, F&> ||
                                     std::is_constructible_v<Many, F&>>>
  Analysis(F&& callable) {
    if constexpr (std::is_constructible_v<One, F&>)
      one_ = One(callable);
    else
      many_ = Many(callable);
  }

  explicit operator bool() const { return one_ || many_; }
  const One& one() const { return one_; }
  const Many& many() const { return many_; }

 private:
  One one_;
  Many many_;
};

/// Fills the derivatives that it knows at a point; the others are found by differences. It is
/// called on the thread of the solve and may throw, as the analysis.
using Gradient = detail::FunctionRef<void(const Point&, Gradients&)>;

}  // namespace tarnix
