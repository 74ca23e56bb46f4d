// SPDX-License-Identifier: MIT
#include "App/WindowState.h"

#include "platform/Logging.h"
#include "platform/OrdinaryFile.h"

#include <QSettings>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

// The names in the file.
constexpr auto widthKey = "width"_L1;
constexpr auto heightKey = "height"_L1;
constexpr auto maximizedKey = "maximized"_L1;
constexpr auto pageKey = "page"_L1;
constexpr auto previewFoldedKey = "previewFolded"_L1;

constexpr int largestSide = 32767; // as in X11

int sideOf(const QSettings &file, QLatin1StringView name)
{
    const int side = file.value(name).toInt();
    return side > 0 && side <= largestSide ? side : 0;
}

} // namespace

WindowState WindowState::load(const QString &path)
{
    if (!canBeFile(path)) {
        return {};
    }
    const QSettings file(path, QSettings::IniFormat);
    return {.size = QSize(sideOf(file, widthKey), sideOf(file, heightKey)),
            .isMaximized = file.value(maximizedKey).toBool(),
            .page = file.value(pageKey).toString(),
            .isPreviewFolded = file.value(previewFoldedKey).toBool()};
}

void WindowState::save(const QString &path) const
{
    if (!canBeFile(path)) {
        qCInfo(Logging::application) << "How the window was is not kept, because this is no file:" << path;
        return;
    }
    QSettings file(path, QSettings::IniFormat);
    file.setValue(widthKey, size.width());
    file.setValue(heightKey, size.height());
    file.setValue(maximizedKey, isMaximized);
    file.setValue(pageKey, page);
    file.setValue(previewFoldedKey, isPreviewFolded);
    file.sync();
    if (file.status() != QSettings::NoError) {
        qCInfo(Logging::application) << "How the window was is not kept:" << path;
    }
}

} // namespace kavrin
