// SPDX-License-Identifier: MIT
// A property list in either form.
#include "platform/PropertyList.h"

#include "fuzz/FuzzTarget.h"
#include "fuzz/SameValue.h"

using namespace kavrin;
using test::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto value = PropertyList::parse(QByteArrayView(data, qsizetype(size)));
    if (value) {
        const auto again = PropertyList::parse(PropertyList::toBinary(*value));
        require(again && test::isSame(*again, *value), "what was read reads back as it was written");
    }
    return 0;
}
