// SPDX-License-Identifier: MIT
#include "screens/DictionaryFiles.h"
#include "doubles/FakeFileChooser.h"
#include "screens/Screens.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace kavrin::test
{

namespace
{

class DictionaryFilesTest : public Screens
{
protected:
    static void put(const QString &text) { test::put(Shared::d(), u"userDict"_s, text); }
    static QString dictionary() { return std::get<QString>(stored(u"userDict"_s).value_or(u"none"_s)); }

    void write(const QByteArray &bytes)
    {
        QFile file(m_chooser.path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QByteArray written()
    {
        QFile file(m_chooser.path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_folder;
    FakeFileChooser m_chooser;
    DictionaryFiles m_files{m_chooser, nullptr};

    DictionaryFilesTest() { m_chooser.path = m_folder.filePath(u"words.txt"_s); }
};

TEST_F(DictionaryFilesTest, AnImportAddsTheLinesThatAreNotThere)
{
    struct Case {
        QString before;
        QByteArray file;
        QString after;
        QString note;
    };
    const Case cases[] = {
        {u""_s, "one\ntwo", u"one\ntwo\n"_s, u"2 lines added."_s},
        {u"one"_s, "one\r\ntwo\r\n", u"one\ntwo\n"_s, u"1 line added."_s},
        {u"one\n"_s, "\n\none\n", u"one\n"_s, u"0 lines added."_s},
        {u"a\n"_s, "b\nb\na=b c\n", u"a\nb\na=b c\n"_s, u"2 lines added."_s},
        {u""_s, "\xef\xbb\xbf\xc5\x9f", u"ş\n"_s, u"1 line added."_s},
    };
    for (const auto &[before, file, after, note] : cases) {
        SCOPED_TRACE(file.constData());
        put(before);
        write(file);
        m_files.importFile();
        EXPECT_EQ(dictionary(), after);
        EXPECT_EQ(m_files.note(), note);
    }
}

TEST_F(DictionaryFilesTest, AnImportThatCannotBeDoneSaysWhy)
{
    put(u"one"_s);
    m_files.importFile();
    EXPECT_TRUE(m_files.problem().startsWith(u"Nothing was imported. "));
    for (const QByteArray &bytes :
         {QByteArray("\xff\xfe"), QByteArray("a\0b", 3), QByteArray(5'000'000, 'a')}) {
        write(bytes);
        m_files.importFile();
        EXPECT_EQ(m_files.problem(), u"Nothing was imported. It is not a text in UTF-8, or too large.");
    }
    write("two");
    const RefusedKey refused("userDict");
    m_files.importFile();
    EXPECT_TRUE(m_files.problem().contains(u"no room"));
    EXPECT_EQ(dictionary(), u"one");
}

TEST_F(DictionaryFilesTest, AnExportWritesTheDictionaryAsItIsStored)
{
    for (const QString &text : {u"one\r\nş\n\n"_s, u""_s}) {
        put(text);
        m_files.exportFile();
        EXPECT_EQ(written(), text.toUtf8());
        EXPECT_EQ(m_files.note(), u"Exported to %1."_s.arg(m_chooser.path));
    }
    EXPECT_EQ(m_chooser.proposed, u"dictionary.txt");
}

TEST_F(DictionaryFilesTest, AnExportThatCannotBeDoneSaysWhy)
{
    m_chooser.path = m_folder.path();
    m_files.exportFile();
    EXPECT_TRUE(m_files.problem().startsWith(u"Nothing was exported. "));
}

TEST_F(DictionaryFilesTest, APipeIsNotWaitedFor)
{
    put(u"one"_s);
    ASSERT_EQ(mkfifo(qUtf8Printable(m_chooser.path), 0600), 0);
    m_files.importFile();
    EXPECT_EQ(m_files.problem(), u"Nothing was imported. It is no ordinary file.");
    m_files.exportFile();
    EXPECT_EQ(m_files.problem(), u"Nothing was exported. It is no ordinary file.");
    EXPECT_FALSE(QFileInfo(m_chooser.path).isFile());
}

TEST_F(DictionaryFilesTest, NothingHappensWithoutAFile)
{
    put(u"one"_s);
    m_chooser.path.clear();
    m_files.importFile();
    m_files.exportFile();
    EXPECT_EQ(dictionary(), u"one");
    EXPECT_EQ(m_files.note(), u"");
    m_chooser.failure = Error(u"portal"_s, 1, u"There is no dialog."_s);
    m_files.importFile();
    EXPECT_EQ(m_files.problem(), u"Nothing was imported. There is no dialog.");
    m_files.exportFile();
    EXPECT_EQ(m_files.problem(), u"Nothing was exported. There is no dialog.");
}

TEST_F(DictionaryFilesTest, ThePageHasAButtonForEach)
{
    QmlWindow page(u"Kavrin.Screens"_s, u"DictionaryView"_s, {{u"files"_s, QVariant::fromValue(&m_files)}});
    write("imported");
    page.click(u"Import from a file"_s);
    EXPECT_TRUE(page.find(u"1 line added."_s) != nullptr);
    const QAccessibleInterface *editor = page.find(u"Dictionary"_s, QAccessible::EditableText);
    EXPECT_TRUE(waitUntil([&] { return editor->object()->property("text") == u"imported\n"_s; }));
    put(u"changed"_s);
    page.click(u"Export to a file"_s);
    EXPECT_EQ(written(), "changed");
}

TEST_F(DictionaryFilesTest, ThePageShowsAFailureInPlaceOfWhatWasDone)
{
    QmlWindow page(u"Kavrin.Screens"_s, u"DictionaryView"_s, {{u"files"_s, QVariant::fromValue(&m_files)}});
    page.click(u"Export to a file"_s);
    const QString done = u"Exported to %1."_s.arg(m_chooser.path);
    EXPECT_TRUE(page.find(done, QAccessible::StaticText) != nullptr);
    m_chooser.failure = Error(u"portal"_s, 1, u"There is no dialog."_s);
    const QString failed = u"Nothing was imported. There is no dialog."_s;
    page.click(u"Import from a file"_s);
    EXPECT_TRUE(page.find(done) == nullptr);
    EXPECT_TRUE(page.find(failed, QAccessible::AlertMessage) != nullptr);
    m_chooser.failure.reset();
    page.click(u"Export to a file"_s);
    EXPECT_TRUE(page.find(failed) == nullptr);
}

} // namespace

} // namespace kavrin::test
