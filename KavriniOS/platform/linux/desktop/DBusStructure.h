// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusArgument>

#include <tuple>

namespace kavrin
{

/// A struct that D-Bus transfers as a structure of its fields, in their order:
///
///     struct Size {
///         int width = 0;
///         int height = 0;
///
///         static auto fields(auto &self) { return std::tie(self.width, self.height); }
///     };
///
/// After a call of qDBusRegisterMetaType() for it, exported slots, signals and properties may use it. They
/// must use its full name (`kavrin::Size`), because Qt looks types up by their spelling there.
template <typename T>
concept DBusStructure = requires(T &value) { T::fields(value); };

template <DBusStructure T> QDBusArgument &operator<<(QDBusArgument &argument, const T &value)
{
    argument.beginStructure();
    std::apply([&argument](const auto &...fields) { (argument << ... << fields); }, T::fields(value));
    argument.endStructure();
    return argument;
}

template <DBusStructure T> const QDBusArgument &operator>>(const QDBusArgument &argument, T &value)
{
    argument.beginStructure();
    const auto read = [&argument](auto &...fields) -> auto & { return (argument >> ... >> fields); };
    const QDBusArgument &rest = std::apply(read, T::fields(value));
    rest.endStructure();
    return rest;
}

} // namespace kavrin
