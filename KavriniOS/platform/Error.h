// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <exception>
#include <optional>
#include <utility>

namespace kavrin
{

/// A failure that the user is told about.
struct Error : std::exception {
    Error(QString domain, qint64 code, QString localizedDescription)
        : domain(std::move(domain)), code(code), localizedDescription(std::move(localizedDescription)),
          m_what(this->localizedDescription.toUtf8())
    {
    }

    /// localizedDescription in UTF-8.
    [[nodiscard]] const char *what() const noexcept override { return m_what.constData(); }

    QString domain; ///< who failed, one short word: "stt", "network", "audio"
    qint64 code; ///< which failure within the domain
    QString localizedDescription; ///< what happened, in words for a person

private:
    QByteArray m_what;
};

/// The value that a call found, or why it found none: with a `failure`, `value` is empty.
template <typename T> struct Result {
    T value{};
    std::optional<Error> failure = std::nullopt;
};

} // namespace kavrin
