// SPDX-License-Identifier: MIT
#include "platform/linux/storage/XmlPropertyList.h"

#include <QDateTime>
#include <QTimeZone>
#include <QXmlStreamReader>

#include <algorithm>
#include <array>
#include <limits>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using Value = std::optional<PropertyListValue>;

constexpr int deepestNesting = 500;

Value toBool(const QString &name, const QString &text)
{
    return text.isEmpty() ? Value(name == u"true") : std::nullopt;
}

Value toInteger(const QString &, const QString &text)
{
    const bool isHexadecimal = text.startsWith(u"0x", Qt::CaseInsensitive);
    bool isNumber = false;
    const qint64 number = isHexadecimal ? text.mid(2).toLongLong(&isNumber, 16) : text.toLongLong(&isNumber);
    return isNumber ? Value(number) : std::nullopt;
}

Value toReal(const QString &, const QString &text)
{
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    return isNumber ? Value(number) : std::nullopt;
}

Value toString(const QString &, const QString &text)
{
    return text;
}

/// A date that the binary form can hold, too.
Value toDate(const QString &, const QString &text)
{
    constexpr double reference = 978307200; // 2001-01-01 00:00:00 UTC
    constexpr double limit = std::numeric_limits<qint32>::max();
    const QDateTime date = QDateTime::fromString(text, u"yyyy-MM-dd'T'HH:mm:ss'Z'"_s);
    if (!date.isValid()) {
        return std::nullopt;
    }
    const double seconds = double(QDateTime(date.date(), date.time(), QTimeZone::utc()).toSecsSinceEpoch());
    return Date{std::clamp(seconds, reference - limit, reference + limit)};
}

Value toData(const QString &, const QString &text)
{
    QByteArray base64 = text.toLatin1();
    base64.removeIf([](char character) { return QChar::isSpace(uchar(character)); });
    const auto data = QByteArray::fromBase64Encoding(base64, QByteArray::AbortOnBase64DecodingErrors);
    return data ? Value(*data) : std::nullopt;
}

struct Scalar {
    QStringView name;
    bool isTrimmed;
    Value (*parse)(const QString &name, const QString &text);
};

constexpr std::array<Scalar, 7> scalars = {{
    {u"true", true, toBool},
    {u"false", true, toBool},
    {u"integer", true, toInteger},
    {u"real", true, toReal},
    {u"string", false, toString},
    {u"date", true, toDate},
    {u"data", true, toData},
}};

/// Reads a document. Whatever is not as it must be raises an error in the reader, which then has no more
/// elements.
class Document
{
public:
    explicit Document(QByteArrayView data) : m_xml(data.toByteArray()) { }

    Value read()
    {
        if (!nextElement() || m_xml.name() != u"plist" || !nextElement()) {
            return std::nullopt;
        }
        const PropertyListValue value = readValue(0);
        const bool isOnly = !nextElement() && !nextElement();
        return isOnly && !m_xml.hasError() ? Value(value) : std::nullopt;
    }

private:
    /// Goes to the next element within this one. False at the end of this one.
    bool nextElement()
    {
        while (!m_xml.atEnd()) {
            switch (m_xml.readNext()) {
            case QXmlStreamReader::StartElement:
                return true;
            case QXmlStreamReader::EndElement:
                return false;
            case QXmlStreamReader::Characters:
                raiseErrorUnless(m_xml.isWhitespace());
                break;
            default:
                raiseErrorUnless(!m_xml.isEntityReference());
            }
        }
        return false;
    }

    /// The text of this element, up to its end.
    QString readText()
    {
        QString text;
        while (!m_xml.atEnd() && m_xml.readNext() != QXmlStreamReader::EndElement) {
            raiseErrorUnless(m_xml.isCharacters() || m_xml.isComment() || m_xml.isProcessingInstruction());
            if (m_xml.isCharacters()) {
                text += m_xml.text();
            }
        }
        return text;
    }

    PropertyListValue readValue(int depth)
    {
        raiseErrorUnless(depth < deepestNesting);
        if (m_xml.name() == u"dict") {
            return readDictionary(depth);
        }
        return m_xml.name() == u"array" ? PropertyListValue(readArray(depth)) : readScalar();
    }

    PropertyListArray readArray(int depth)
    {
        PropertyListArray array;
        while (nextElement()) {
            array.push_back(readValue(depth + 1));
        }
        return array;
    }

    PropertyListDictionary readDictionary(int depth)
    {
        PropertyListDictionary dictionary;
        while (nextElement()) {
            raiseErrorUnless(m_xml.name() == u"key");
            const QString key = readText();
            raiseErrorUnless(nextElement());
            dictionary.insert_or_assign(key, readValue(depth + 1));
        }
        return dictionary;
    }

    PropertyListValue readScalar()
    {
        const QString name = m_xml.name().toString();
        const auto *scalar = std::ranges::find(scalars, QStringView(name), &Scalar::name);
        const QString text = readText();
        const Value value = scalar == scalars.end()
            ? std::nullopt
            : scalar->parse(name, scalar->isTrimmed ? text.trimmed() : text);
        raiseErrorUnless(value.has_value());
        return value.value_or(PropertyListValue());
    }

    void raiseErrorUnless(bool isRight)
    {
        if (!isRight) {
            m_xml.raiseError();
        }
    }

    QXmlStreamReader m_xml;
};

} // namespace

std::optional<PropertyListValue> parseXmlPropertyList(QByteArrayView data)
{
    return Document(data).read();
}

} // namespace kavrin
