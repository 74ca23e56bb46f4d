// SPDX-License-Identifier: MIT
#include "screens/Screens.h"
#include "store/BrokenSuite.h"
#include "store/SuiteWriter.h"
#include "support/OtherProgram.h"
#include "support/RefusedKey.h"
#include "support/Suite.h"

#include <QImage>

namespace kavrin::test
{

namespace
{

class DictionaryViewTest : public Screens
{
protected:
    QmlWindow m_view = QmlWindow(u"Kavrin.Screens"_s, u"DictionaryView"_s);

    static std::optional<PropertyListValue> userDict() { return stored(u"userDict"_s); }
};

TEST_F(DictionaryViewTest, StoresEveryEditAsItIsTyped)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"omw=on my way"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"omw=on my way"_s));
    m_view.press(Qt::Key_Return);
    m_view.press(Qt::Key_Return);
    m_view.type(u" word"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"omw=on my way\n\n word"_s));
}

TEST_F(DictionaryViewTest, StoresTheEmptyStringWhenAllIsDeleted)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"a"_s);
    m_view.press(Qt::Key_Backspace);
    EXPECT_EQ(userDict(), PropertyListValue(QString(u""_s)));
}

TEST_F(DictionaryViewTest, StoresNothingBeforeTheFirstEdit)
{
    EXPECT_FALSE(userDict());
}

TEST_F(DictionaryViewTest, StampsNoRevision)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"word"_s);
    EXPECT_FALSE(stored(u"settingsRevision"_s));
}

TEST_F(DictionaryViewTest, DrawsOfALargeTextTheLinesInView)
{
    put(Shared::d(), u"userDict"_s, u"aaaaa\n"_s.repeated(5000));
    QmlWindow view(u"Kavrin.Screens"_s, u"DictionaryView"_s);
    auto *editor =
        qobject_cast<QQuickItem *>(view.find(u"Dictionary"_s, QAccessible::EditableText)->object());
    EXPECT_TRUE(editor->flags().testFlag(QQuickItem::ItemObservesViewport)); // else all 5000 are drawn
    for (const auto &[key, line] : {std::pair(Qt::Key_Home, 0), {Qt::Key_End, 4999}}) {
        editor->forceActiveFocus();
        view.press(key, Qt::ControlModifier);
        QRectF place;
        QMetaObject::invokeMethod(editor, "positionToRectangle", Q_RETURN_ARG(QRectF, place),
                                  Q_ARG(int, 6 * line));
        const QRect letters =
            editor->mapRectToScene(place).toAlignedRect().adjusted(3, 0, 20, 0); // not the cursor
        const QImage image = view.view().grabWindow().copy(letters);
        EXPECT_NE(image, [&image] {
            QImage blank = image;
            blank.fill(image.pixelColor(0, 0));
            return blank;
        }()) << line;
    }
}

TEST_F(DictionaryViewTest, TypesNoTabs)
{
    m_view.press(Qt::Key_Tab);
    m_view.type(u"word"_s);
    m_view.press(Qt::Key_Tab);
    EXPECT_EQ(userDict(), PropertyListValue(u"word"_s));
}

/// The page over a dictionary that was there before it.
class StoredDictionary : public Screens
{
protected:
    static void put(const PropertyListValue &value) { test::put(Shared::d(), u"userDict"_s, value); }
    static PropertyListValue userDict() { return stored(u"userDict"_s).value_or(u"none"_s); }

    void open()
    {
        m_view = std::make_unique<QmlWindow>(u"Kavrin.Screens"_s, u"DictionaryView"_s);
        m_editor =
            qobject_cast<QQuickItem *>(m_view->find(u"Dictionary"_s, QAccessible::EditableText)->object());
        m_editor->forceActiveFocus();
    }

    void openAtTheEnd()
    {
        open();
        view().press(Qt::Key_End, Qt::ControlModifier);
    }

    void close() { m_view.reset(); }

    QmlWindow &view() { return *m_view; }
    [[nodiscard]] QQuickItem &editor() const { return *m_editor; }
    [[nodiscard]] QString shown() const { return m_editor->property("text").toString(); }

    /// Waits until the page has followed a change.
    void expectToShow(const QString &text)
    {
        EXPECT_TRUE(waitUntil([&] { return shown() == text; })) << shown().toStdString();
    }

private:
    std::unique_ptr<QmlWindow> m_view;
    QQuickItem *m_editor = nullptr;
};

/// Characters that an editor may take for others.
const QString unusual = u"bjr=Bonjour\u00a0!\r\none\u2028line\r\u202f\u2029\t end \r\n"_s;

TEST_F(StoredDictionary, IsShownFromItsBeginning)
{
    put(u"one\n=\n\nthree"_s);
    open();
    EXPECT_EQ(shown(), u"one\n=\n\nthree"_s);
    view().type(u"x"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"xone\n=\n\nthree"_s));
}

TEST_F(StoredDictionary, StaysAsItIsUntilItIsEdited)
{
    for (const PropertyListValue &value : {PropertyListValue(unusual), PropertyListValue(4.5)}) {
        put(value);
        open();
        view().press(Qt::Key_Right);
        EXPECT_EQ(userDict(), value);
    }
}

TEST_F(StoredDictionary, ChangesOnlyWhereItIsEdited)
{
    put(unusual);
    openAtTheEnd();
    view().type(u"x"_s);
    EXPECT_EQ(userDict(), PropertyListValue(unusual + u'x'));
    view().press(Qt::Key_Home, Qt::ControlModifier);
    view().type(u"y"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u'y' + unusual + u'x'));
}

TEST_F(StoredDictionary, TakesAPastedNoBreakSpace)
{
    open();
    QMetaObject::invokeMethod(&editor(), "insert", Q_ARG(int, 0), Q_ARG(QString, u"non\u00a0!"_s));
    EXPECT_EQ(userDict(), PropertyListValue(u"non\u00a0!"_s));
}

TEST_F(StoredDictionary, FollowsWhatIsStored)
{
    put(u"one"_s);
    open();
    for (const QString &text : {u"one\ntwo"_s, u"😀\ntwo"_s, u"😁\r\ntwo"_s, u""_s, unusual}) {
        put(text);
        expectToShow(QString(text)
                         .replace(u"\r\n"_s, u"\n"_s)
                         .replace(u'\r', u'\n')
                         .replace(QChar(0x2028), u'\n')
                         .replace(QChar(0x2029), u'\n')
                         .replace(QChar(0xa0), u' '));
        EXPECT_EQ(userDict(), PropertyListValue(text));
    }
}

TEST_F(StoredDictionary, KeepsTheCursorInItsLineWhenAnotherIsAdded)
{
    put(u"a\nb"_s);
    openAtTheEnd();
    put(u"a\nb\nnew"_s);
    expectToShow(u"a\nb\nnew"_s);
    view().type(u"c"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"a\nbc\nnew"_s));
    put(u"first\na\nbc\nnew"_s);
    expectToShow(u"first\na\nbc\nnew"_s);
    view().type(u"d"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"first\na\nbcd\nnew"_s));
}

TEST_F(StoredDictionary, UndoTakesBackOnlyWhatWasTyped)
{
    put(u"a"_s);
    openAtTheEnd();
    view().press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(userDict(), PropertyListValue(u"a"_s));
    view().type(u"b"_s);
    view().press(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(userDict(), PropertyListValue(u"a"_s));
}

TEST_F(StoredDictionary, KeepsWhatAnotherProgramAddsBeforeItIsShown)
{
    put(u"a\n"_s);
    openAtTheEnd();
    put(u"a\nnew\n"_s);
    view().type(u"b"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"a\nnew\nb"_s));
    expectToShow(u"a\nnew\nb"_s);
    view().type(u"c"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"a\nnew\nbc"_s));
}

TEST_F(StoredDictionary, KeepsWhatAnotherProgramAddsWhileEditsWaitForIt)
{
    const SuiteWriter writer;
    put(u"a\n"_s);
    openAtTheEnd();
    OtherProgram keyboard;
    keyboard.execute("BEGIN IMMEDIATE");
    view().type(u"bc"_s);
    keyboard.execute(
        "UPDATE defaults SET value = 'a' || char(10) || 'new' || char(10) WHERE key = 'userDict'");
    view().type(u"d"_s);
    keyboard.execute("COMMIT");
    expectToShow(u"a\nnew\nbcd"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"a\nnew\nbcd"_s));
}

TEST_F(StoredDictionary, KeepsWhatIsTypedWhileItCannotBeStored)
{
    put(u"a"_s);
    openAtTheEnd();
    {
        const RefusedKey refused("userDict");
        view().type(u"bc"_s);
        const QStringList notes = view().names().filter(u"This could not be saved. "_s);
        ASSERT_EQ(notes.size(), 1);
        EXPECT_EQ(view().find(notes.front())->role(), QAccessible::AlertMessage);
    }
    put(u"a\nnew"_s);
    view().type(u"d"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"abcd\nnew"_s));
    EXPECT_TRUE(view().names().filter(u"This could not be saved. "_s).isEmpty());
}

TEST_F(StoredDictionary, CannotBeEditedUntilItCanBeRead)
{
    const auto notes = [&] { return view().names().filter(u"This could not be read. "_s); };
    {
        const BrokenSuite broken;
        open();
        view().type(u"x"_s);
        EXPECT_EQ(shown(), u"");
        EXPECT_EQ(notes().size(), 1);
    }
    put(u"word"_s);
    expectToShow(u"word"_s);
    EXPECT_EQ(notes().size(), 0);
    view().type(u"x"_s);
    EXPECT_EQ(userDict(), PropertyListValue(u"wordx"_s));
}

TEST_F(StoredDictionary, SaysHowManyEntriesThereAreAndWhichLinesAreAtFault)
{
    put(u"one\ntwo\nomw=on my way\none"_s);
    open();
    EXPECT_TRUE(view().find(u"2 words and 1 shortcut"_s) != nullptr);
    EXPECT_TRUE(view().find(u"“one” is there already."_s) != nullptr);
    view().type(u"x"_s);
    EXPECT_TRUE(waitUntil([&] { return view().find(u"3 words and 1 shortcut"_s) != nullptr; }));
    EXPECT_TRUE(view().find(u"“one” is there already."_s) == nullptr);
    put(u"=x\n"_s);
    EXPECT_TRUE(waitUntil([&] { return view().find(u"Nothing is before “=x”."_s) != nullptr; }));
}

/// The page with its ground, which is another one where a line is marked.
class MarkedDictionary : public StoredDictionary
{
protected:
    /// The colour beside the text where a position of it is shown.
    QColor ground(const QImage &image, qsizetype position)
    {
        QRectF place;
        QMetaObject::invokeMethod(&editor(), "positionToRectangle", Q_RETURN_ARG(QRectF, place),
                                  Q_ARG(int, int(position)));
        return image.pixelColor(
            editor().mapToScene(QPointF(editor().width() - 8, place.center().y())).toPoint());
    }
};

TEST_F(MarkedDictionary, MarksTheLinesAtFault)
{
    put(u"one\none\ntwo"_s);
    open();
    const QImage marked = view().view().grabWindow();
    put(u"one\nono\ntwo"_s);
    EXPECT_EQ(ground(marked, 0), ground(marked, 8));
    EXPECT_NE(ground(marked, 0), ground(marked, 4));
    EXPECT_TRUE(waitUntil([&] { return view().find(u"3 words"_s) != nullptr; }));
    EXPECT_EQ(ground(view().view().grabWindow(), 4), ground(marked, 0));
}

TEST_F(MarkedDictionary, MarksAWrappedLineToItsEnd)
{
    const QString line = u"long "_s.repeated(30) + u"long"_s;
    put(line + u'\n' + line + u"\ntwo"_s);
    open();
    const QImage marked = view().view().grabWindow();
    const qsizetype from = line.size() + 1;
    const qsizetype end = from + line.size();
    const QColor mark = ground(marked, from);
    EXPECT_NE(ground(marked, 0), mark);
    EXPECT_NE(ground(marked, line.size()), mark);
    EXPECT_EQ(ground(marked, from + line.size() / 2), mark);
    EXPECT_EQ(ground(marked, end), mark);
    EXPECT_NE(ground(marked, end + 1), mark);
    view().press(Qt::Key_A, Qt::ControlModifier);
    view().press(Qt::Key_Delete); // what is marked is gone before it is counted again
}

TEST_F(StoredDictionary, SaysThatThereIsNothingUnlessNobodyKnows)
{
    {
        const BrokenSuite broken;
        open();
        EXPECT_TRUE(view().find(u"No entries yet"_s) == nullptr);
    }
    EXPECT_TRUE(waitUntil([&] { return view().find(u"No entries yet"_s) != nullptr; }));
    view().type(u"word"_s);
    EXPECT_TRUE(waitUntil([&] { return view().find(u"1 word"_s) != nullptr; }));
    EXPECT_TRUE(view().find(u"No entries yet"_s) == nullptr);
}

TEST_F(StoredDictionary, TellsTheNextPageOfAnEditThatFailsAfterItsPageWasClosed)
{
    put(u"word"_s);
    const SuiteWriter writer;
    const RefusedKey refused("userDict");
    OtherProgram other;
    open();
    other.execute("BEGIN IMMEDIATE");
    view().type(u"x"_s);
    close();
    open();
    const auto notes = [&] { return view().names().filter(u"This could not be saved. "_s); };
    other.execute("COMMIT");
    EXPECT_TRUE(waitUntil([&] { return notes().size() == 1; }));
    close();
    open();
    EXPECT_EQ(notes().size(), 0);
}

} // namespace

} // namespace kavrin::test
