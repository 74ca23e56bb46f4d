// SPDX-License-Identifier: MIT
#include "dictation/DictationError.h"

#include "store/DictationKeys.h"
#include "store/SuiteWriter.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace kavrin
{

using namespace Qt::StringLiterals;

void DictationError::publish(const QString &code, const QString &message, double time)
{
    const QJsonObject members = {{u"code"_s, code}, {u"message"_s, message}, {u"at"_s, time}};
    const QByteArray json = QJsonDocument(members).toJson(QJsonDocument::Compact);
    SuiteWriter::write({{dictation::errorKey, QString::fromUtf8(json)}});
}

void DictationError::clear()
{
    SuiteWriter::write({{dictation::errorKey, std::nullopt}});
}

} // namespace kavrin
