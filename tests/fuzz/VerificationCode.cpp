// SPDX-License-Identifier: MIT
// A message from anybody, in UTF-8 and in UTF-16, the latter with halves of surrogate pairs.
#include "codes/Codes.h"

#include "codes/NaiveCodes.h"
#include "fuzz/FuzzTarget.h"

#include <algorithm>
#include <cstring>

using namespace kavrin;
using test::require;

namespace
{

void check(const QString &text)
{
    constexpr qsizetype longestForNaive = 499;
    const std::optional<Codes::Code> found = Codes::extract(text);
    if (found) {
        const auto isDigit = [](QChar character) { return character >= u'0' && character <= u'9'; };
        require(found->code.size() >= 4 && found->code.size() <= 8, "a code has 4 to 8 characters");
        require(std::all_of(found->code.begin(), found->code.end(), isDigit), "a code is digits");
    }
    if (text.size() <= longestForNaive) {
        require(found == test::naiveExtract(text), "the plain way finds the same");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    check(QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size)));
    QString units(qsizetype(size / 2), Qt::Uninitialized);
    std::memcpy(units.data(), data, std::size_t(units.size()) * 2);
    check(units);
    return 0;
}
