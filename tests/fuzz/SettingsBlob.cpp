// SPDX-License-Identifier: MIT
// A settings text from the clipboard: the whole text, or the JSON within one.
#include "fuzz/FuzzTarget.h"
#include "fuzz/SameValue.h"
#include "store/Prefs.h"
#include "store/Shared.h"

using namespace kavrin;
using namespace Qt::StringLiterals;
using test::require;

namespace
{

const QString prefix = u"KAVRINCFG1:"_s;
const QString revision = u"settingsRevision"_s;

QString blobOf(const QByteArray &input)
{
    const QString text = QString::fromUtf8(input);
    return text.startsWith(prefix) ? text : prefix + QString::fromLatin1(input.toBase64());
}

PropertyListDictionary stored()
{
    PropertyListDictionary values = Shared::d().dictionaryRepresentation().value;
    values.erase(revision);
    return values;
}

void clearSuite(const PropertyListDictionary &values)
{
    QStringList keys;
    for (const auto &[key, value] : values) {
        keys.append(key);
    }
    Prefs::reset(keys);
}

/// How many settings the text holds, or none where it is refused.
std::optional<qsizetype> import(const QString &blob)
{
    const auto [done, failure] = Prefs::importBlob(blob);
    require(!failure || failure->domain == u"import", "a refusal is the importer's");
    return failure ? std::nullopt : std::optional(done.count);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), qsizetype(size));
    const std::optional<qsizetype> count = import(blobOf(input));
    const PropertyListDictionary imported = stored();
    require(qsizetype(imported.size()) == count.value_or(0),
            "what is imported is stored, and what is refused not");
    if (imported.empty()) {
        return 0;
    }
    const QString exported = Prefs::exportBlob();
    require(!exported.isEmpty(), "what was imported can be exported");
    clearSuite(imported);
    require(import(exported) == qsizetype(imported.size()), "an export can be imported");
    require(test::isSame(stored(), imported), "an import restores what was exported");
    clearSuite(imported);
    return 0;
}
