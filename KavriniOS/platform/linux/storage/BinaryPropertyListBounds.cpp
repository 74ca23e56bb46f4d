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

// The upper half of the byte that begins an object. The lower half is its count, or says that one follows.
constexpr quint64 arrayKind = 0xA;
constexpr quint64 setKind = 0xC;
constexpr quint64 dictionaryKind = 0xD;
constexpr quint64 countFollows = 0xF;

/// Follows every reference from the topmost object on. Each function is false, or none, where the list is
/// beyond the bounds or refers to what it does not hold.
class Walk
{
public:
    explicit Walk(QByteArrayView binary) : m_binary(binary) { }

    bool fromTop();

private:
    bool visit(quint64 index, int depth);
    bool visitContainer(quint64 position, quint64 marker, int depth);
    bool visitMembers(quint64 position, quint64 count, int depth);
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
    if (depth > deepest || --m_valuesLeft < 0 || index >= m_objectCount) {
        return false;
    }
    const std::optional<quint64> position = number(m_offsetTable + index * m_offsetSize, m_offsetSize);
    const std::optional<quint64> marker = position ? number(*position, 1) : std::nullopt;
    if (!marker) {
        return false;
    }
    const quint64 kind = *marker >> 4U;
    const bool isContainer = kind == arrayKind || kind == setKind || kind == dictionaryKind;
    return !isContainer || visitContainer(*position, *marker, depth + 1);
}

bool Walk::visitContainer(quint64 position, quint64 marker, int depth)
{
    quint64 count = marker & 0xFU;
    quint64 members = position + 1;
    if (count == countFollows) {
        const quint64 countMarker = number(members, 1).value_or(0);
        const quint64 countSize = quint64(1) << (countMarker & 0xFU);
        count = number(members + 1, countSize).value_or(mostValues + 1);
        members += 1 + countSize;
    }
    // A dictionary has keys, then as many values.
    const quint64 perEntry = marker >> 4U == dictionaryKind ? 2 : 1;
    return count <= quint64(mostValues) && visitMembers(members, count * perEntry, depth);
}

bool Walk::visitMembers(quint64 position, quint64 count, int depth)
{
    for (quint64 member = 0; member < count; ++member) {
        const std::optional<quint64> index = number(position + member * m_referenceSize, m_referenceSize);
        if (!index || !visit(*index, depth)) {
            return false;
        }
    }
    return true;
}

/// The unsigned big-endian number of `size` bytes.
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
