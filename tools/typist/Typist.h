// SPDX-License-Identifier: MIT
#pragma once

#include "tools/typist/DictationKey.h"
#include "tools/typist/TypedDictation.h"

#include <QElapsedTimer>
#include <QObject>

#include <memory>
#include <optional>

namespace kavrin
{

/// A keyboard of one key, which may be pressed from several places: a shortcut, or a command. There is one
/// dictation at a time. Main thread only.
class Typist : public QObject
{
    Q_OBJECT

public:
    /// `platform` must outlive the last dictation.
    explicit Typist(TypedDictation::Platform platform);

    /// What happens to the key. If this begins a dictation, resumes when Kavrin has taken it up, or with why
    /// there is none. The user is shown that, too.
    QCoro::Task<std::optional<Error>> press();
    QCoro::Task<std::optional<Error>> toggle();
    void release();
    void cancel();

    /// Ends the recording that its key has begun, and lets a text be typed to its end. stopped() follows.
    void stop();

Q_SIGNALS:
    void stopped();

private:
    QCoro::Task<std::optional<Error>> perform(DictationKey::Action action);
    QCoro::Task<std::optional<Error>> begin();
    QCoro::Task<> finish(std::shared_ptr<TypedDictation> dictation);
    void tell(const Error &failure);
    void setOver();
    [[nodiscard]] DictationKey::Time now() const;

    TypedDictation::Platform m_platform;
    QElapsedTimer m_time;
    DictationKey m_key;
    std::shared_ptr<TypedDictation> m_dictation; ///< null if there is none
    bool m_isStopping = false;
};

} // namespace kavrin
