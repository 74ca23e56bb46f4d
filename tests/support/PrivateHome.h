// SPDX-License-Identifier: MIT
#pragma once

#include <QTemporaryDir>

namespace kavrin::test
{

/// A home, data, configuration and runtime folder of this process's own, so that a test neither sees nor
/// touches the user's files, message buses, sound server, display or locale. Everything is gone when it is
/// destroyed.
class PrivateHome
{
public:
    PrivateHome();

    [[nodiscard]] QString path() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
};

} // namespace kavrin::test
