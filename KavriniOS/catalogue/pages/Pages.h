// SPDX-License-Identifier: MIT
#pragma once

#include "catalogue/Catalogue.h"

/// What the files of this folder share: one function makes one page.
namespace kavrin::catalogue
{

Page layoutPage();
Page lookPage();
Page touchPage();
Page gesturesPage();
Page feedbackPage();
Page correctionPage();
Page clipboardPage();
Page dictationPage();
Page extensionsPage();
Page codesPage();
Page advancedPage();

/// A row that does something: its key is the action's identifier.
inline Item action(const QString &identifier, const QString &title,
                   const std::optional<QString> &footer = std::nullopt)
{
    return {identifier, title, Action{identifier}, footer};
}

/// An action() that only the keyboard's own settings have.
inline Item actionInKeyboard(const QString &identifier, const QString &title)
{
    return {.key = identifier, .title = title, .kind = Action{identifier}, .onlyInKeyboard = true};
}

/// A choice with the stored values as its labels.
inline Choice choiceOfValues(const QString &defaultValue, const std::vector<QString> &values)
{
    Choice choice{defaultValue, {}};
    for (const QString &value : values) {
        choice.options.push_back({value, value});
    }
    return choice;
}

inline constexpr Toggle on{true};
inline constexpr Toggle off{false};
inline constinit const Text emptyText{QString(), false};
inline constinit const Text emptySecret{QString(), true};

} // namespace kavrin::catalogue
