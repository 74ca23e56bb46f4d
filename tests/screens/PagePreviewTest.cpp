// SPDX-License-Identifier: MIT
#include "screens/Screens.h"
#include "screens/preview/KeyboardLook.h"
#include "support/Suite.h"

#include <QImage>
#include <QtTest/QTest>

namespace kavrin::test
{

namespace
{

/// A page of the settings with the preview of the keyboard.
class PagePreviewTest : public Screens
{
protected:
    void openWithPreview(const QString &id, QSize size)
    {
        openPage(id, size);
        window().top()->setProperty("pageId", id);
    }

    QQuickItem *preview() { return window().item(u"Preview of the keyboard"_s); }

    /// How the preview looks.
    QImage picture()
    {
        const QRectF place = preview()->mapRectToScene(preview()->boundingRect());
        return window().view().grabWindow().copy(place.toAlignedRect());
    }
};

bool isDrawn(const Prefs::Page &page)
{
    for (const Prefs::Sect &section : page.sections) {
        for (const Prefs::Item &item : section.items) {
            if (KeyboardLook::keys().contains(item.key)) {
                return true;
            }
        }
    }
    return false;
}

TEST_F(PagePreviewTest, IsOnThePagesWhoseSettingsItDraws)
{
    for (const Prefs::Page &page : Prefs::pages()) {
        openWithPreview(page.id, QSize(1100, 800));
        EXPECT_EQ(preview() != nullptr, isDrawn(page)) << qPrintable(page.id);
    }
}

TEST_F(PagePreviewTest, FollowsASettingOfThePage)
{
    openWithPreview(u"look"_s, QSize(1100, 800));
    const QImage before = picture();
    window().click(u"Key borders"_s);
    EXPECT_TRUE(waitUntil([&] { return picture() != before; }));
}

TEST_F(PagePreviewTest, FollowsASliderWhileItIsDragged)
{
    openWithPreview(u"layout"_s, QSize(1100, 800));
    const QQuickItem *slider = window().item(u"Corner radius"_s);
    const auto at = [slider](double share) {
        return slider->mapToScene(QPointF(slider->width() * share, slider->height() / 2)).toPoint();
    };
    QTest::mousePress(&window().view(), Qt::LeftButton, Qt::NoModifier, at(0.3));
    const QImage before = picture();
    QTest::mouseMove(&window().view(), at(0.8));
    EXPECT_TRUE(waitUntil([&] { return picture() != before; }));
    QTest::mouseRelease(&window().view(), Qt::LeftButton, Qt::NoModifier, at(0.8));
}

TEST_F(PagePreviewTest, FollowsWhatAnotherProgramStores)
{
    openWithPreview(u"layout"_s, QSize(1100, 800));
    const QImage before = picture();
    put(Shared::d(), u"accent"_s, u"pink"_s); // of another page
    settings().reload();
    EXPECT_TRUE(waitUntil([&] { return picture() != before; }));
}

TEST_F(PagePreviewTest, FollowsTheEditorOfTheToolbar)
{
    openWithPreview(u"layout"_s, QSize(1100, 800));
    window().click(u"Reorder & hide toolbar icons"_s);
    ASSERT_TRUE(waitUntil([this] { return window().top() != window().root() && preview() != nullptr; }));
    const QImage before = picture();
    window().click(qobject_cast<QQuickItem *>(window().find(u"GIFs"_s, QAccessible::CheckBox)->object()));
    EXPECT_TRUE(waitUntil([&] { return picture() != before; }));
}

TEST_F(PagePreviewTest, LeavesHalfOfANarrowPageToTheSettings)
{
    for (const double rowHeight : {36.0, 54.0, 80.0}) {
        Prefs::set(u"rowH"_s, rowHeight);
        openWithPreview(u"layout"_s, QSize(360, 720));
        ASSERT_NE(preview(), nullptr) << rowHeight;
        EXPECT_GE(preview()->mapToScene(QPointF()).y(), 360) << rowHeight;
        EXPECT_LE(preview()->mapToScene(QPointF(0, preview()->height())).y(), 720) << rowHeight;
    }
}

} // namespace

} // namespace kavrin::test
