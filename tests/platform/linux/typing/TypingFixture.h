// SPDX-License-Identifier: MIT
#pragma once

#include "../desktop/PrivateDisplay.h"
#include "platform/linux/typing/findTyping.h"
#include "support/Paths.h"
#include "support/Wait.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <memory>

namespace kavrin::test
{

/// All of Unicode: letters of the keyboard and others, three bytes, four bytes, two characters in one.
inline const QString everyKind = QStringLiteral("Grüße – 2 €, naïve Straße, 日本語, 👍🏽 ");

inline QString textOf(qsizetype length)
{
    return everyKind.repeated(length / everyKind.size()).leftJustified(length, u'.');
}

inline QString fieldFile()
{
    return QDir::home().filePath(QStringLiteral("field"));
}

/// Shows a text field of a program: "Qt", "GTK", "Terminal" or "Chromium". It has the focus when this
/// returns.
inline void showField(PrivateDisplay &display, const QString &program)
{
    if (program == u"Qt") {
        display.show(helperPath("typing_field"), {fieldFile()});
    } else {
        display.show(QStringLiteral("/usr/bin/python3"),
                     {sourcePath("tests/platform/linux/typing/field.py"), program.toLower(), fieldFile()});
    }
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(fieldFile()); }, std::chrono::seconds(120)));
}

inline QString fieldText()
{
    QFile file(fieldFile());
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// Why it was not typed; empty where it was.
inline QString type(Typing &typing, const QString &text, const Typing::Check &check = Typing::unchecked)
{
    const std::optional<Error> failure = await(typing.type(text, check));
    return failure ? failure->localizedDescription : QString();
}

} // namespace kavrin::test
