#pragma once

#include "foundation/Error.h"

#include <optional>
#include <utility>
#include <variant>

namespace larkspan {

// A value, or the error that stands in its place. Reading the wrong side throws
// std::bad_variant_access, so test with `if (result)` first.
template <class T>
class [[nodiscard]] Result {
  public:
    Result(T value) : content_(std::in_place_index<0>, std::move(value)) {}      // NOLINT
    Result(Error error) : content_(std::in_place_index<1>, std::move(error)) {}  // NOLINT

    explicit operator bool() const { return content_.index() == 0; }

    T& value() & { return std::get<0>(content_); }
    const T& value() const& { return std::get<0>(content_); }
    T&& value() && { return std::get<0>(std::move(content_)); }
    T& operator*() & { return value(); }
    const T& operator*() const& { return value(); }
    T* operator->() { return &value(); }
    const T* operator->() const { return &value(); }

    // The value where no matter why there is none.
    std::optional<T> optional() && {
        return *this ? std::optional<T>(std::get<0>(std::move(content_))) : std::nullopt;
    }

    const Error& error() const { return std::get<1>(content_); }

  private:
    std::variant<T, Error> content_;
};

}  // namespace larkspan
