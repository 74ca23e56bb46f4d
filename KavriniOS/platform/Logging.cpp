// SPDX-License-Identifier: MIT
#include "platform/Logging.h"

namespace kavrin::Logging
{

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(application, "kavrin.application", QtFatalMsg)
Q_LOGGING_CATEGORY(store, "kavrin.store", QtFatalMsg)
Q_LOGGING_CATEGORY(dictation, "kavrin.dictation", QtFatalMsg)
Q_LOGGING_CATEGORY(sound, "kavrin.sound", QtFatalMsg)
Q_LOGGING_CATEGORY(transcription, "kavrin.transcription", QtFatalMsg)
Q_LOGGING_CATEGORY(loopback, "kavrin.loopback", QtFatalMsg)
Q_LOGGING_CATEGORY(codes, "kavrin.codes", QtFatalMsg)

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
    QLoggingCategory::setFilterRules(u"*.debug=false\n*.info=false\n*.warning=false"_s);
    rules = QLoggingCategory::installFilter(nullptr); // Qt's own, which stays until the next line
    QLoggingCategory::installFilter(&filter);
}

} // namespace kavrin::Logging
