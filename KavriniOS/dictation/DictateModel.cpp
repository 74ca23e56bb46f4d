// SPDX-License-Identifier: MIT
#include "dictation/DictateModel.h"

#include "dictation/Dictations.h"

namespace kavrin
{

DictateModel::DictateModel(Recorder::Platform platform, QObject *parent)
    : QObject(parent), m_dictations(platform.dictations), m_recorder(std::move(platform))
{
    follow(m_recorder);
}

void DictateModel::follow(const Recorder &recorder)
{
    connect(&recorder, &Recorder::stateChanged, this, &DictateModel::stateChanged);
    connect(&recorder, &Recorder::messageChanged, this, &DictateModel::messageChanged);
    connect(&recorder, &Recorder::levelChanged, this, &DictateModel::levelChanged);
}

void DictateModel::start()
{
    m_other = m_dictations.active();
    if (!m_other) {
        m_recorder.start();
        return;
    }
    follow(*m_other);
    Q_EMIT stateChanged();
    Q_EMIT messageChanged();
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
