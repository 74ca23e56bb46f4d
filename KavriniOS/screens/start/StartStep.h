// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace kavrin
{

/// One line of the card "Get started". Main thread only.
class StartStep : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("GetStarted has them.")

    Q_PROPERTY(bool done READ isDone NOTIFY changed)
    Q_PROPERTY(bool busy READ isBusy NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QString problem READ problem NOTIFY changed)

public:
    struct State {
        bool isDone = false;
        bool isBusy = false; ///< something is under way, so there is nothing to press
        QString title; ///< what to do, or what is done
        QString text; ///< a sentence that explains it
        /// Why the last try failed, with what to do; else empty.
        QString problem = {}; // NOLINT(readability-redundant-member-init): GCC warns where it is left out

        bool operator==(const State &) const = default;
    };

    using QObject::QObject;

    [[nodiscard]] bool isDone() const { return m_state.isDone; }
    [[nodiscard]] bool isBusy() const { return m_state.isBusy; }
    [[nodiscard]] QString title() const { return m_state.title; }
    [[nodiscard]] QString text() const { return m_state.text; }
    [[nodiscard]] QString problem() const { return m_state.problem; }

    void show(const State &state)
    {
        if (m_state != state) {
            m_state = state;
            Q_EMIT changed();
        }
    }

Q_SIGNALS:
    void changed();

private:
    State m_state;
};

} // namespace kavrin
