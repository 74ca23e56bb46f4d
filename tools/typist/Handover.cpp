// SPDX-License-Identifier: MIT
#include "tools/typist/Handover.h"

#include "store/DictationKeys.h"
#include "store/Shared.h"
#include "store/SuiteWriter.h"

#include <QCoroFuture>

#include <memory>

namespace kavrin::handover
{

namespace
{

using Value = std::optional<PropertyListValue>;

/// Stores the value if `mayStore` permits it, given what is stored. Whether it has done so. Throws Error.
QCoro::Task<bool> storeIf(QString key, PropertyListValue value, std::function<bool(const Value &)> mayStore)
{
    const auto isStored = std::make_shared<bool>(false);
    const UserDefaults::Edit edit = [=](const Value &stored) {
        *isStored = mayStore(stored);
        return *isStored ? Value(value) : Value();
    };
    const QFuture<std::optional<Error>> written = SuiteWriter::edit(key, edit, [](bool) { });
    const std::optional<Error> failure = co_await written;
    if (failure) {
        throw Error(*failure);
    }
    co_return *isStored;
}

bool isCommand(const Value &stored)
{
    return stored == Value(dictation::startCommand) || stored == Value(dictation::stopCommand);
}

Value find(const PropertyListDictionary &values, const QString &key)
{
    const auto found = values.find(key);
    return found == values.end() ? Value() : Value(found->second);
}

} // namespace

QCoro::Task<bool> storeStart()
{
    return storeIf(dictation::commandKey, dictation::startCommand,
                   [](const Value &stored) { return !isCommand(stored); });
}

bool isStartTaken()
{
    const std::optional<QString> command = Shared::d().string(dictation::commandKey);
    return command && command != dictation::startCommand;
}

QCoro::Task<> withdrawStart()
{
    const QFuture<std::optional<Error>> written =
        SuiteWriter::write({{dictation::commandKey, QString(), dictation::startCommand}});
    co_await written;
}

QCoro::Task<std::optional<QString>> claimTranscript(double stamp)
{
    const auto [values, failure] =
        Shared::d().objects({dictation::transcriptKey, dictation::stampKey, dictation::usedKey});
    if (failure) {
        throw Error(*failure);
    }
    const Value transcript = find(values, dictation::transcriptKey);
    const Value used = find(values, dictation::usedKey);
    const auto *const text = transcript ? std::get_if<QString>(&*transcript) : nullptr;
    const bool isOurs = find(values, dictation::stampKey) == Value(stamp) && used != Value(stamp);
    if (text == nullptr || !isOurs) {
        co_return std::nullopt;
    }
    const QCoro::Task<bool> claiming =
        storeIf(dictation::usedKey, stamp, [used](const Value &stored) { return stored == used; });
    const bool isClaimed = co_await claiming;
    co_return isClaimed ? std::optional(*text) : std::nullopt;
}

} // namespace kavrin::handover
