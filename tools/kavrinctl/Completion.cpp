// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Completion.h"

#include "tools/kavrinctl/Setting.h"

#include <QRegularExpression>

#include <algorithm>
#include <iterator>
#include <optional>
#include <vector>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

QString line(const QString &candidate, const QString &description = {})
{
    return candidate + u'\t' + description;
}

/// Whether a word of a form stands for others, as KEY does.
bool isPlaceholder(const QString &word)
{
    return word.front().isUpper();
}

/// One word of a form in which a verb is used, such as "start | stop" or "KEY...".
struct Word {
    QStringList alternatives;
    bool repeats = false;

    [[nodiscard]] bool accepts(const QString &word) const
    {
        return std::ranges::any_of(alternatives, [&](const QString &alternative) {
            return alternative == word || isPlaceholder(alternative);
        });
    }
};

/// An option that may be anywhere in a form, such as "[--timeout SECONDS]".
struct Option {
    QString name;
    bool takesArgument;
};

/// One line of a verb's usage.
struct Form {
    std::vector<Word> words;
    std::vector<Option> options;
};

Word wordOf(QString text)
{
    const bool repeats = text.endsWith(u"...");
    text.remove(u"..."_s);
    static const QRegularExpression bar(u" ?\\| ?"_s);
    return {text.split(bar), repeats};
}

Form formOf(const QString &usage)
{
    static const QRegularExpression part(uR"(\[(?<optional>[^\]]+)\]|(?<word>[^ ]+( \| [^ ]+)*))"_s);
    Form form;
    for (const QRegularExpressionMatch &match : part.globalMatch(usage)) {
        const QString optional = match.captured(u"optional"_s);
        if (optional.startsWith(u"--")) {
            form.options.push_back({optional.section(u' ', 0, 0), optional.contains(u' ')});
        } else {
            form.words.push_back(wordOf(optional.isEmpty() ? match.captured(u"word"_s) : optional));
        }
    }
    return form;
}

QStringList settings()
{
    QStringList lines;
    for (const QString &key : settingKeys()) {
        lines.append(line(key, Prefs::items().value(key).title));
    }
    return lines;
}

/// The values of a setting. None for those that take a number or any text.
QStringList values(const QString &key)
{
    const Prefs::Item item = Prefs::items().value(key);
    if (std::holds_alternative<catalogue::Toggle>(item.kind) && !item.key.isEmpty()) {
        return {line(u"true"_s), line(u"false"_s)};
    }
    QStringList lines;
    if (const auto *choice = std::get_if<catalogue::Choice>(&item.kind)) {
        std::ranges::transform(choice->options, std::back_inserter(lines),
                               [](const Prefs::Opt &option) { return line(option.v, option.t); });
    }
    return lines;
}

/// The tools, after those that a list has already.
QStringList tools(const QString &list)
{
    const QString before = list.left(list.lastIndexOf(u',') + 1);
    QStringList lines;
    for (const Prefs::Tool &tool : Prefs::toolIDs()) {
        lines.append(line(before + tool.id, tool.title));
    }
    return lines;
}

QStringList expand(const QString &alternative, const QStringList &before, const QString &current)
{
    if (alternative == u"KEY") {
        return settings();
    }
    if (alternative == u"VALUE") {
        return values(before.last());
    }
    if (alternative == u"ORDER" || alternative == u"HIDDEN") {
        return tools(current);
    }
    return isPlaceholder(alternative) ? QStringList() : QStringList{line(alternative)};
}

/// How far the words before the last one follow a form: the word of it that comes next, and the options that
/// they have not used. None if they do not follow it.
std::optional<Form> rest(Form form, const QStringList &before)
{
    auto next = form.words.begin();
    bool isArgument = false;
    for (const QString &word : before) {
        const auto option = std::ranges::find(form.options, word, &Option::name);
        if (isArgument) {
            isArgument = false;
        } else if (option != form.options.end()) {
            isArgument = option->takesArgument;
            form.options.erase(option);
        } else if (next != form.words.end() && next->accepts(word)) {
            next += next->repeats ? 0 : 1;
        } else {
            return std::nullopt;
        }
    }
    form.words.erase(form.words.begin(), next);
    return isArgument ? Form() : form;
}

QStringList completionsOfForm(const QString &usage, const QStringList &before, const QString &current)
{
    const Form form = rest(formOf(usage), before).value_or(Form());
    const QStringList next = form.words.empty() ? QStringList() : form.words.front().alternatives;
    QStringList lines;
    for (const QString &alternative : next) {
        lines += expand(alternative, before, current);
    }
    // Before a word such as "read" nothing else makes sense.
    if (next.isEmpty() || isPlaceholder(next.front())) {
        std::ranges::transform(form.options, std::back_inserter(lines),
                               [](const Option &option) { return line(option.name); });
    }
    return lines;
}

QStringList completionsOfVerb(const Verb &verb, const QStringList &before, const QString &current)
{
    QStringList lines;
    for (const QString &usage : QString::fromLatin1(verb.usage).split(u'\n')) {
        lines += completionsOfForm(usage, before, current);
    }
    if (before.isEmpty()) {
        lines.append(line(u"--help"_s));
    }
    lines.removeDuplicates();
    return lines;
}

QStringList names(std::span<const Verb> verbs)
{
    QStringList lines;
    for (const Verb &verb : verbs) {
        lines.append(line(QString::fromLatin1(verb.name), QString::fromUtf8(verb.summary)));
    }
    return lines;
}

} // namespace

QStringList completions(std::span<const Verb> verbs, const QStringList &words)
{
    if (words.size() < 2) {
        return names(verbs)
            + QStringList{line(u"help"_s, u"More about a verb"_s), line(u"--help"_s), line(u"--version"_s)};
    }
    if (words.front() == u"help") {
        return words.size() == 2 ? names(verbs) : QStringList();
    }
    const auto verb = std::ranges::find_if(
        verbs, [&](const Verb &known) { return words.front() == QLatin1String(known.name); });
    return verb == verbs.end() ? QStringList()
                               : completionsOfVerb(*verb, words.mid(1, words.size() - 2), words.last());
}

} // namespace kavrin::ctl
