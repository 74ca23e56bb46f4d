// SPDX-License-Identifier: MIT
#include "dictation/DictateModel.h"

#include "dictation/Dictations.h"
#include "dictation/Silence.h"
#include "platform/PlatformText.h"

namespace kavrin
{

using namespace Qt::StringLiterals;

DictateModel::DictateModel(Recorder::Platform platform, QObject *parent)
    : QObject(parent), m_dictations(platform.dictations), m_recorder(std::move(platform))
{
    follow(m_recorder);
    connect(&m_dictations, &Dictations::stateChanged, this, &DictateModel::showWhatRecords);
}

void DictateModel::follow(const Recorder &recorder)
{
    constexpr auto once = Qt::UniqueConnection;
    connect(&recorder, &Recorder::stateChanged, this, &DictateModel::stateChanged, once);
    connect(&recorder, &Recorder::startingChanged, this, &DictateModel::messageChanged, once);
    connect(&recorder, &Recorder::messageChanged, this, &DictateModel::messageChanged, once);
    connect(&recorder, &Recorder::hearingChanged, this, &DictateModel::hearingChanged, once);
    connect(&recorder, &Recorder::levelChanged, this, &DictateModel::levelChanged, once);
}

void DictateModel::show(Recorder *recorder)
{
    if (recorder == nullptr || recorder == &shown()) {
        return;
    }
    m_other = recorder == &m_recorder ? nullptr : recorder;
    follow(*recorder);
    Q_EMIT stateChanged();
    Q_EMIT messageChanged();
    Q_EMIT hearingChanged();
    Q_EMIT levelChanged();
}

/// What it shows stays until another recorder begins.
void DictateModel::showWhatRecords()
{
    show(m_dictations.active());
}

void DictateModel::start()
{
    Recorder *const busy = m_dictations.busy();
    show(busy);
    if (busy == nullptr) {
        m_recorder.start();
    }
}

/// A recorder that begins anew still has the message of its last dictation.
QString DictateModel::message() const
{
    if (shown().isStarting()) {
        return u"Starting…"_s;
    }
    // What was said is shown as it was said.
    return isRecording() ? platformText(shown().message()) : shown().message();
}

QString DictateModel::silence() const
{
    return silenceText(shown().hearing());
}

void DictateModel::stop()
{
    (m_other ? *m_other : m_recorder).stop();
}

DictateModelFactory::DictateModelFactory(Recorder::Platform platform, QObject *parent)
    : QObject(parent), m_platform(std::move(platform))
{
}

DictateModel *DictateModelFactory::make(QObject *screen)
{
    return new DictateModel(m_platform, screen);
}

} // namespace kavrin
