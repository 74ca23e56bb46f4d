// SPDX-License-Identifier: MIT
#include "dictation/RecordingModel.h"

#include "dictation/Silence.h"

#include <QHash>

#include <chrono>
#include <tuple>

namespace kavrin
{

using namespace Qt::StringLiterals;

RecordingModel::RecordingModel(DictationBridge &bridge, const Dictations &dictations, QObject *parent)
    : QObject(parent), m_bridge(bridge), m_dictations(dictations)
{
    m_seconds.setInterval(std::chrono::seconds(1));
    connect(&m_seconds, &QTimer::timeout, this, &RecordingModel::timeChanged);
    connect(&dictations, &Dictations::stateChanged, this, &RecordingModel::update);
    connect(&dictations, &Dictations::hearingChanged, this, &RecordingModel::changed);
}

void RecordingModel::update()
{
    const QString activity = m_dictations.activity();
    follow(m_dictations.recording());
    if (activity == m_activity) {
        return;
    }
    m_activity = activity;
    if (isStoppable()) {
        m_failure.clear();
    }
    Q_EMIT changed();
}

void RecordingModel::follow(Recorder *recorder)
{
    if (recorder == m_recorder) {
        return;
    }
    if (m_recorder) {
        m_recorder->disconnect(this);
    }
    m_recorder = recorder;
    m_seconds.stop();
    if (recorder != nullptr) {
        connect(recorder, &Recorder::levelChanged, this, &RecordingModel::levelChanged);
        m_since.start();
        m_seconds.start();
    }
    Q_EMIT timeChanged();
    Q_EMIT levelChanged();
}

QString RecordingModel::title() const
{
    static const QHash<QString, QString> titles = {
        {dictation::starting, u"Starting…"_s},
        {dictation::recording, u"Recording"_s},
        {dictation::working, u"Transcribing…"_s},
    };
    return titles.value(m_activity, m_failure.isEmpty() ? QString() : u"No text"_s);
}

QString RecordingModel::problem() const
{
    return m_recorder ? silenceText(m_recorder->hearing()) : isBusy() ? QString() : m_failure;
}

QString RecordingModel::time() const
{
    const qint64 seconds = m_recorder ? m_since.elapsed() / 1000 : 0;
    return u"%1:%2"_s.arg(seconds / 60).arg(seconds % 60, 2, 10, QChar(u'0'));
}

double RecordingModel::level() const
{
    return m_recorder ? m_recorder->level() : 0;
}

/// There may be nothing to end any more.
void RecordingModel::stop()
{
    std::ignore = m_bridge.stop();
}

void RecordingModel::cancel()
{
    std::ignore = m_bridge.cancel();
}

void RecordingModel::dismiss()
{
    m_failure.clear();
    Q_EMIT changed();
}

void RecordingModel::fail(const QString &reason)
{
    m_failure = reason;
    Q_EMIT changed();
}

} // namespace kavrin
