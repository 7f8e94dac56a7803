// result.hh --
//
//    A small [[nodiscard]] result type for the platform's internals: either a
//    value or an error code of the caller's error enum. Nothing here throws.

#pragma once

#include <type_traits>
#include <utility>
#include <variant>

namespace trp {

template <typename E>
struct Err {
   E code;
};

template <typename E>
Err(E) -> Err<E>;

template <typename T, typename E>
class [[nodiscard]] Result {
public:
   Result(T value) : v_(std::in_place_index<0>, std::move(value)) {}
   Result(Err<E> err) : v_(std::in_place_index<1>, err.code) {}

   bool ok() const { return v_.index() == 0; }
   explicit operator bool() const { return ok(); }

   T &value() & { return std::get<0>(v_); }
   const T &value() const & { return std::get<0>(v_); }
   T &&value() && { return std::get<0>(std::move(v_)); }
   T *operator->() { return &value(); }
   const T *operator->() const { return &value(); }
   T &operator*() & { return value(); }
   const T &operator*() const & { return value(); }

   E error() const { return std::get<1>(v_); }

private:
   std::variant<T, E> v_;
};

// Result without a value.
template <typename E>
class [[nodiscard]] Status {
public:
   Status() = default;
   Status(Err<E> err) : failed_(true), code_(err.code) {}

   bool ok() const { return !failed_; }
   explicit operator bool() const { return ok(); }
   E error() const { return code_; }

private:
   bool failed_ = false;
   E code_{};
};

}  // namespace trp

// Propagates the error of a Result/Status expression to the enclosing
// function, which must return a Result or Status of the same error enum.
#define TRP_TRY(expr)                                          \
   do {                                                        \
      auto trpTryResult_ = (expr);                             \
      if (!trpTryResult_.ok()) {                               \
         return ::trp::Err{trpTryResult_.error()};             \
      }                                                        \
   } while (0)
