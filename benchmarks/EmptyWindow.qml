// SPDX-License-Identifier: MIT
import QtQuick.Controls

/// As large as Kavrin's window.
ApplicationWindow {
    width: 420
    height: 760
    visible: true
}
