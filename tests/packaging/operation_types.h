#ifndef TAVLIB_TESTS_PACKAGING_OPERATION_TYPES_H
#define TAVLIB_TESTS_PACKAGING_OPERATION_TYPES_H

#include <gtest/gtest.h>

#include <concepts>
#include <type_traits>

namespace tavtest {

/// Names an operation by its type. That it has this type, and that the library has it, shows when this is
/// built.
template <typename Type>
void has(Type operation) {
  Type volatile linked = operation;  // not worked out by the compiler
  EXPECT_TRUE(linked != nullptr);
}

/// Converts to its type and to no other.
template <typename Type>
struct Exactly {
  template <std::same_as<Type> Wanted>
  operator Wanted() const;
};
template <typename Type>
struct Exactly<Type&> {
  operator Type&() const;
};

template <typename Class, typename... Arguments>
void make_and_destroy(Arguments... arguments) {
  [[maybe_unused]] const Class object(arguments...);
}

/// Names a constructor by its parameters, and with it the destructor. Neither runs.
template <typename Class, typename... Parameters>
void has_constructor() {
  static_assert(std::is_constructible_v<Class, Exactly<Parameters>...>);
  has<void (*)(Parameters...)>(&make_and_destroy<Class, Parameters...>);
}

}  // namespace tavtest

#endif
