// SPDX-License-Identifier: MIT
#pragma once

#include "platform/linux/desktop/DBusStructure.h"

#include <QDBusVariant>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

/// The types in the signals and methods of DBusMenu.h.
namespace kavrin
{

/// (ia{sv}av): an item and the items below it, each of which is again a DBusMenuLayout.
struct DBusMenuLayout {
    int id = 0;
    QVariantMap properties;
    QVariantList children;

    static auto fields(auto &self) { return std::tie(self.id, self.properties, self.children); }
};

/// (ia{sv}): properties of one item.
struct DBusMenuProperties {
    int id = 0;
    QVariantMap properties;

    static auto fields(auto &self) { return std::tie(self.id, self.properties); }
};

/// (ias): names of properties of one item.
struct DBusMenuPropertyNames {
    int id = 0;
    QStringList names;

    static auto fields(auto &self) { return std::tie(self.id, self.names); }
};

/// (isvu): what happened to an item.
struct DBusMenuEvent {
    int id = 0;
    QString type;
    QDBusVariant data;
    uint timestamp = 0;

    static auto fields(auto &self) { return std::tie(self.id, self.type, self.data, self.timestamp); }
};

} // namespace kavrin
