// A function that is passed on and called while its maker waits.
#pragma once

#include <type_traits>
#include <utility>

namespace tavo {

template <class Signature>
class FunctionRef;

// Refers to a callable, which must outlive it; takes no memory.
template <class Result, class... Arguments>
class FunctionRef<Result(Arguments...)> {
 public:
  template <class Function>
  requires(!std::is_same_v<std::remove_cvref_t<Function>, FunctionRef>)
      FunctionRef(Function&& function)  // NOLINT(google-explicit-constructor): lambdas become one
      : object_(&function), call_([](const void* object, Arguments... arguments) -> Result {
          using Called = const std::remove_reference_t<Function>;
          return (*static_cast<Called*>(object))(std::forward<Arguments>(arguments)...);
        }) {}

  Result operator()(Arguments... arguments) const {
    return call_(object_, std::forward<Arguments>(arguments)...);
  }

 private:
  const void* object_;
  Result (*call_)(const void*, Arguments...);
};

}  // namespace tavo
