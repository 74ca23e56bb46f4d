// SPDX-License-Identifier: MIT
#include "platform/linux/storage/BinaryPropertyListBounds.h"

#include <optional>

namespace kavrin
{

namespace
{

constexpr int deepest = 500;
constexpr int mostValues = 100'000;
constexpr qsizetype headerSize = 8;
constexpr qsizetype trailerSize = 32;

// The upper half of the byte that begins an object. The lower half is the object's count, or says that the
// count follows.
constexpr quint64 utf16Kind = 0x6;
constexpr quint64 arrayKind = 0xA;
constexpr quint64 setKind = 0xC;
constexpr quint64 dictionaryKind = 0xD;
constexpr quint64 countFollows = 0xF;

/// Follows every reference, beginning at the top object. Each function returns false, or none, if the list is
/// beyond the bounds or refers to something that it does not hold.
class Walk
{
public:
    explicit Walk(QByteArrayView binary) : m_binary(binary) { }

    bool fromTop();

private:
    /// Where an object's members or characters begin, and how many it has.
    struct Contents {
        quint64 position;
        quint64 count;
    };

    bool visit(quint64 index, int depth);
    bool visitContainer(quint64 position, int depth);
    bool visitMembers(const Contents &members, int depth);
    bool visitKeys(const Contents &keys);
    bool visitUtf16Key(const Contents &characters);
    [[nodiscard]] std::optional<quint64> positionOf(quint64 index) const;
    [[nodiscard]] std::optional<quint64> kindAt(quint64 position) const;
    [[nodiscard]] Contents contentsAt(quint64 position) const;
    [[nodiscard]] std::optional<quint64> number(quint64 position, quint64 size) const;

    QByteArrayView m_binary;
    quint64 m_offsetSize = 0;
    quint64 m_referenceSize = 0;
    quint64 m_objectCount = 0;
    quint64 m_offsetTable = 0;
    int m_valuesLeft = mostValues;
};

bool Walk::fromTop()
{
    if (m_binary.size() < headerSize + trailerSize) {
        return false;
    }
    const auto trailer = quint64(m_binary.size() - trailerSize);
    m_offsetSize = number(trailer + 6, 1).value_or(0);
    m_referenceSize = number(trailer + 7, 1).value_or(0);
    m_objectCount = number(trailer + 8, 8).value_or(0);
    m_offsetTable = number(trailer + 24, 8).value_or(0);
    return visit(number(trailer + 16, 8).value_or(0), 0);
}

bool Walk::visit(quint64 index, int depth)
{
    if (depth > deepest || --m_valuesLeft < 0) {
        return false;
    }
    const std::optional<quint64> position = positionOf(index);
    const std::optional<quint64> kind = position ? kindAt(*position) : std::nullopt;
    if (!kind) {
        return false;
    }
    const bool isContainer = kind == arrayKind || kind == setKind || kind == dictionaryKind;
    return !isContainer || visitContainer(*position, depth + 1);
}

bool Walk::visitContainer(quint64 position, int depth)
{
    Contents members = contentsAt(position);
    if (members.count > quint64(mostValues)) {
        return false;
    }
    if (kindAt(position) == dictionaryKind) {
        if (!visitKeys(members)) {
            return false;
        }
        members.count *= 2; // the keys, then the same number of values
    }
    return visitMembers(members, depth);
}

bool Walk::visitMembers(const Contents &members, int depth)
{
    for (quint64 member = 0; member < members.count; ++member) {
        const std::optional<quint64> index =
            number(members.position + member * m_referenceSize, m_referenceSize);
        if (!index || !visit(*index, depth)) {
            return false;
        }
    }
    return true;
}

/// libplist ends the process when it reads a key in UTF-16 with a zero in it.
bool Walk::visitKeys(const Contents &keys)
{
    for (quint64 key = 0; key < keys.count; ++key) {
        const std::optional<quint64> index = number(keys.position + key * m_referenceSize, m_referenceSize);
        const std::optional<quint64> position = index ? positionOf(*index) : std::nullopt;
        if (!position || (kindAt(*position) == utf16Kind && !visitUtf16Key(contentsAt(*position)))) {
            return false;
        }
    }
    return true;
}

/// Each character counts as a value, because many dictionaries may refer to the same long key.
bool Walk::visitUtf16Key(const Contents &characters)
{
    for (quint64 character = 0; character < characters.count; ++character) {
        if (--m_valuesLeft < 0 || number(characters.position + 2 * character, 2).value_or(0) == 0) {
            return false;
        }
    }
    return true;
}

std::optional<quint64> Walk::positionOf(quint64 index) const
{
    return index < m_objectCount ? number(m_offsetTable + index * m_offsetSize, m_offsetSize) : std::nullopt;
}

std::optional<quint64> Walk::kindAt(quint64 position) const
{
    const std::optional<quint64> marker = number(position, 1);
    return marker ? std::optional(*marker >> 4U) : std::nullopt;
}

Walk::Contents Walk::contentsAt(quint64 position) const
{
    const quint64 count = number(position, 1).value_or(0) & 0xFU;
    if (count != countFollows) {
        return {position + 1, count};
    }
    const quint64 countSize = quint64(1) << (number(position + 1, 1).value_or(0) & 0xFU);
    return {position + 2 + countSize, number(position + 2, countSize).value_or(mostValues + 1)};
}

/// The unsigned big-endian number in `size` bytes.
std::optional<quint64> Walk::number(quint64 position, quint64 size) const
{
    const auto end = quint64(m_binary.size());
    if (size < 1 || size > 8 || position > end || end - position < size) {
        return std::nullopt;
    }
    quint64 value = 0;
    for (quint64 byte = 0; byte < size; ++byte) {
        value = value << 8U | quint8(m_binary.at(qsizetype(position + byte)));
    }
    return value;
}

} // namespace

bool isWithinBounds(QByteArrayView binary)
{
    return Walk(binary).fromTop();
}

} // namespace kavrin
