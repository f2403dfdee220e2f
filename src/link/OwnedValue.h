// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace vantrel {

/// A value that every part of the program reads and only the class `Owner` sets.
template <typename Value, typename Owner>
class OwnedValue
{
public:
    /// Implicit: the value is read as if it were a plain member.
    operator Value() const { return m_value; }

private:
    friend Owner;

    OwnedValue &operator=(Value value)
    {
        m_value = value;
        return *this;
    }

    Value m_value{};
};

} // namespace vantrel
