// SPDX-License-Identifier: MIT
#include "screens/Screens.h"

#include <QInputMethodQueryEvent>

namespace kavrin::test
{

namespace
{

using InputHintsTest = Screens;

/// What an on-screen keyboard is told of the field that has the focus.
Qt::InputMethodHints hintsIn(const QmlWindow &window)
{
    QInputMethodQueryEvent query(Qt::ImHints);
    QCoreApplication::sendEvent(window.top()->window()->activeFocusItem(), &query);
    return query.value(Qt::ImHints).value<Qt::InputMethodHints>();
}

const Qt::InputMethodHints verbatim = Qt::ImhNoAutoUppercase | Qt::ImhNoPredictiveText;
const Qt::InputMethodHints secret = verbatim | Qt::ImhHiddenText | Qt::ImhSensitiveData;

TEST_F(InputHintsTest, PlainFieldsAreNeitherCapitalisedNorPredicted)
{
    Prefs::set(u"provider"_s, u"custom"_s);
    for (const auto &[page, field] :
         {std::pair(u"dictation"_s, u"Endpoint URL"_s), std::pair(u"dictation"_s, u"Model"_s),
          std::pair(u"extensions"_s, u"Search engine ID (cx)"_s)}) {
        openPage(page);
        window().click(field);
        EXPECT_EQ(hintsIn(window()), verbatim) << qPrintable(field);
    }
}

TEST_F(InputHintsTest, SecretFieldsAreHiddenAndNotLearntFromEvenWhileTheyAreShown)
{
    Prefs::set(u"openaiKey"_s, u"a key"_s);
    openPage(u"dictation"_s);
    window().click(u"API key"_s);
    EXPECT_EQ(hintsIn(window()) & secret, secret);
    window().click(u"Show API key"_s);
    window().click(u"API key"_s);
    EXPECT_EQ(hintsIn(window()) & secret, secret);
}

TEST_F(InputHintsTest, TheFieldToTryTheKeyboardForbidsItNothing)
{
    openSettings();
    window().click(u"Try the keyboard here"_s);
    EXPECT_EQ(hintsIn(window()), Qt::ImhNone);
}

TEST_F(InputHintsTest, TheDictionaryIsNeitherCapitalisedNorPredicted)
{
    QmlWindow dictionary(u"Kavrin.Screens"_s, u"DictionaryView"_s);
    dictionary.press(Qt::Key_Tab);
    EXPECT_EQ(hintsIn(dictionary) & secret, verbatim);
}

} // namespace

} // namespace kavrin::test
