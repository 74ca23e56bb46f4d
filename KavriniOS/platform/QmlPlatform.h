// SPDX-License-Identifier: MIT
#pragma once

#include "platform/PlatformText.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// The platform as QML sees it: Platform.text("…") for a sentence that a view has of its own.
class QmlPlatform : public QObject
{
    Q_OBJECT
    QML_NAMED_ELEMENT(Platform)
    QML_SINGLETON

public:
    [[nodiscard]] Q_INVOKABLE static QString text(const QString &described)
    {
        return platformText(described);
    }
};

} // namespace kavrin
