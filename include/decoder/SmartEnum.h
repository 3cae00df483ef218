#pragma once

namespace kiv { namespace appli {

/// An enumeration that crosses the library boundary as a 32-bit int and may hold any value.
/// Base lists the named values in a nested `enum Value : int`.
template <class Base>
class smart_enum : public Base {
public:
    /// The value 0.
    smart_enum() = default;
    /// Of any value, named or not.
    smart_enum(int value) : m_value(value) {} // NOLINT: values convert freely, as plain enums do
    /// The value.
    operator int() const { return m_value; }

private:
    int m_value = 0;
};

}} // namespace kiv::appli
