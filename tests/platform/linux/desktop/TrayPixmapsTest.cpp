// SPDX-License-Identifier: MIT
#include "platform/linux/desktop/TrayPixmaps.h"

#include <QImage>
#include <QPixmap>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kavrin::test
{

namespace
{

QPixmap pixmap(int width, int height, const std::vector<QRgb> &pixels)
{
    QImage image(width, height, QImage::Format_ARGB32);
    for (int at = 0; at < width * height; ++at) {
        image.setPixel(at % width, at / width, pixels.at(std::size_t(at)));
    }
    return QPixmap::fromImage(image);
}

} // namespace

TEST(TrayPixmaps, AreAlphaRedGreenBlueOfEachPixel)
{
    struct Case {
        std::string name;
        QPixmap pixmap;
        TrayPixmap expected;
    };
    const std::vector<Case> cases = {
        {"one", pixmap(1, 1, {0xff123456}), {1, 1, QByteArray::fromHex("ff123456")}},
        {"a row", pixmap(2, 1, {0xffff0000, 0xff00ff00}), {2, 1, QByteArray::fromHex("ffff0000ff00ff00")}},
        {"a column", pixmap(1, 2, {0xff0000ff, 0xffffffff}), {1, 2, QByteArray::fromHex("ff0000ffffffffff")}},
        {"transparent", pixmap(1, 1, {0x00000000}), {1, 1, QByteArray::fromHex("00000000")}},
        {"half", pixmap(1, 1, {0x80ff0000}), {1, 1, QByteArray::fromHex("80ff0000")}},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(trayPixmaps(QIcon(each.pixmap)), TrayPixmaps({each.expected}));
    }
}

TEST(TrayPixmaps, AreOneForEachSize)
{
    QIcon icon;
    for (const int size : {16, 64, 23}) {
        icon.addPixmap(QPixmap(size, size));
    }
    std::vector<int> sizes;
    for (const TrayPixmap &each : trayPixmaps(icon)) {
        EXPECT_EQ(each.width, each.height);
        EXPECT_EQ(each.bytes.size(), each.width * each.height * 4);
        sizes.push_back(each.width);
    }
    EXPECT_EQ(sizes, std::vector<int>({16, 64, 23}));
}

TEST(TrayPixmaps, AreNoneWhereThereIsNoIcon)
{
    EXPECT_TRUE(trayPixmaps(QIcon()).isEmpty());
}

} // namespace kavrin::test
