// SPDX-License-Identifier: MIT
#include "screens/DictionaryModel.h"

#include "screens/StoreNote.h"
#include "store/Shared.h"

namespace kavrin
{

namespace
{

QString key()
{
    return QStringLiteral("userDict");
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
    const bool stored = Shared::d().set(key(), userDict);
    m_note = storeNote(stored);
    Q_EMIT userDictChanged();
    Q_EMIT noteChanged();
}

} // namespace kavrin
