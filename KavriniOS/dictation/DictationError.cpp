// SPDX-License-Identifier: MIT
#include "dictation/DictationError.h"

#include "dictation/Publication.h"
#include "store/DictationKeys.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

Publication &publication()
{
    static Publication publication;
    return publication;
}

} // namespace

void DictationError::publish(const QString &code, const QString &message, double time)
{
    const QJsonObject members = {{u"code"_s, code}, {u"message"_s, message}, {u"at"_s, time}};
    const QByteArray json = QJsonDocument(members).toJson(QJsonDocument::Compact);
    publication().store({{dictation::errorKey, QString::fromUtf8(json)}});
}

void DictationError::clear()
{
    publication().store({{dictation::errorKey, std::nullopt}});
}

void DictationError::republishIfFailed()
{
    publication().storeAgainIfFailed();
}

} // namespace kavrin
