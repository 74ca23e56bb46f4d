// SPDX-License-Identifier: MIT
#include "dictation/DictateModel.h"

namespace kavrin
{

DictateModel::DictateModel(Recorder::Platform platform, QObject *parent)
    : QObject(parent), m_recorder(std::move(platform))
{
    connect(&m_recorder, &Recorder::stateChanged, this, &DictateModel::stateChanged);
    connect(&m_recorder, &Recorder::messageChanged, this, &DictateModel::messageChanged);
    connect(&m_recorder, &Recorder::levelChanged, this, &DictateModel::levelChanged);
}

void DictateModel::start()
{
    m_recorder.start();
}

void DictateModel::stop()
{
    m_recorder.stop();
}

DictateModelFactory::DictateModelFactory(Recorder::Platform platform, QObject *parent)
    : QObject(parent), m_platform(std::move(platform))
{
}

DictateModel *DictateModelFactory::make(QObject *screen)
{
    auto *model = new DictateModel(m_platform, screen);
    Q_EMIT made(model);
    return model;
}

} // namespace kavrin
