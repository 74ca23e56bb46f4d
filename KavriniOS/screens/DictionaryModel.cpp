// SPDX-License-Identifier: MIT
#include "screens/DictionaryModel.h"

#include "screens/StoreNote.h"
#include "store/Shared.h"
#include "store/SuiteWriter.h"

#include <QCoroFuture>
#include <QPointer>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

QString key()
{
    return u"userDict"_s;
}

QString storedText()
{
    const auto value = Shared::d().object(key());
    const QString *text = value ? std::get_if<QString>(&*value) : nullptr;
    return text != nullptr ? *text : QString();
}

} // namespace

DictionaryModel::DictionaryModel(QObject *parent) : QObject(parent), m_userDict(storedText()) { }

void DictionaryModel::setUserDict(const QString &userDict)
{
    if (userDict == m_userDict) {
        return;
    }
    m_userDict = userDict;
    Q_EMIT userDictChanged();
    store();
}

QCoro::Task<> DictionaryModel::store()
{
    const QPointer self(this);
    const QFuture<std::optional<Error>> written = SuiteWriter::write({{key(), m_userDict}});
    const std::optional<Error> failure = co_await written;
    if (self) {
        m_note = failure ? storeNote(*failure) : QString();
        Q_EMIT noteChanged();
    }
}

} // namespace kavrin
