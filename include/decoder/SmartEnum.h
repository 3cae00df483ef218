#pragma once

namespace kiv { namespace appli {

/// An enumeration that crosses the library boundary as a 32-bit int and may hold any value.
/// Base lists the named values in a nested `enum Value : int`.
template <class Base>
class smart_enum : public Base {
public:
    smart_enum() = default;
    smart_enum(int value) : m_value(value) {} // NOLINT: values convert freely, as plain enums do
    operator int() const { return m_value; }

private:
    int m_value = 0;
};

}} // namespace kiv::appli
