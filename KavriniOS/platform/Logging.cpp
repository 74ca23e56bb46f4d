// SPDX-License-Identifier: MIT
#include "platform/Logging.h"

namespace kavrin::Logging
{

Q_LOGGING_CATEGORY(application, "kavrin.application")
Q_LOGGING_CATEGORY(store, "kavrin.store")
Q_LOGGING_CATEGORY(dictation, "kavrin.dictation")
Q_LOGGING_CATEGORY(sound, "kavrin.sound")
Q_LOGGING_CATEGORY(transcription, "kavrin.transcription")
Q_LOGGING_CATEGORY(loopback, "kavrin.loopback")
Q_LOGGING_CATEGORY(codes, "kavrin.codes")

namespace
{

QLoggingCategory::CategoryFilter rules = nullptr;

void filter(QLoggingCategory *category)
{
    rules(category);
    const QByteArrayView name(category->categoryName());
    const bool isHarmless = name.startsWith("kavrin.") || name.startsWith("qt.scenegraph.time.");
    if (!isHarmless) {
        category->setEnabled(QtDebugMsg, false);
        category->setEnabled(QtInfoMsg, false);
    }
}

} // namespace

void setUp()
{
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false\n*.warning=false"));
    rules = QLoggingCategory::installFilter(nullptr); // Qt's own, which stays until the next line
    QLoggingCategory::installFilter(&filter);
}

} // namespace kavrin::Logging
