// SPDX-License-Identifier: MIT
// Measures finding the code in a message, beside the same with the standard library's expressions and with
// Qt's plain ones. Neither of these two counts characters. Each works through benchmarks/messages.txt:
// messages in English and Turkish, most of them of 120 to 200 characters, with and without codes.
#include "codes/Codes.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <regex>
#include <string>
#include <vector>

using namespace kavrin;
using namespace Qt::StringLiterals;

namespace
{

using Found = std::optional<Codes::Code>;

const QStringList &messages()
{
    static const QStringList all = [] {
        QFile file(QStringLiteral(KAVRIN_MESSAGES));
        if (!file.open(QIODevice::ReadOnly)) {
            qFatal("%s cannot be read.", KAVRIN_MESSAGES);
        }
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }();
    return all;
}

/// The standard library's expressions have no look-behind, so the match includes what stands before the code.
Found extractWithStandardExpressions(const std::string &message)
{
    static const std::regex whole("\\s*([0-9]{4,8}|[0-9]{3}[ -][0-9]{3})\\s*", std::regex::optimize);
    static const std::regex keyword(
        "code|kod|otp|verif|doğrulama|dogrulama|passcode|security|şifre|Şifre|ŞIFRE|sifre|pin",
        std::regex::optimize | std::regex::icase);
    static const std::regex split("(?:^|[^0-9])([0-9]{3}[ -][0-9]{3})(?![0-9])", std::regex::optimize);
    static const std::regex run("(?:^|[^0-9])([0-9]{4,8})(?![0-9])", std::regex::optimize);

    const auto code = [](const std::ssub_match &digits, bool pure) {
        return Codes::Code{QString::fromStdString(digits.str()).remove(u' ').remove(u'-'), pure};
    };
    std::smatch match;
    if (std::regex_match(message, match, whole)) {
        return code(match[1], true);
    }
    if (!std::regex_search(message, keyword)) {
        return std::nullopt;
    }
    if (std::regex_search(message, match, split) || std::regex_search(message, match, run)) {
        return code(match[1], false);
    }
    return std::nullopt;
}

Found extractWithQtExpressions(const QString &message)
{
    static const QRegularExpression wholeRun(u"^[0-9]{4,8}$"_s);
    static const QRegularExpression wholeSplit(u"^[0-9]{3}[ -][0-9]{3}$"_s);
    static const QRegularExpression split(u"(?<![0-9])[0-9]{3}[ -][0-9]{3}(?![0-9])"_s);
    static const QRegularExpression run(u"(?<![0-9])[0-9]{4,8}(?![0-9])"_s);
    static constexpr std::array<QStringView, 11> keywords = {
        u"code",     u"kod",      u"otp",   u"verif", u"doğrulama", u"dogrulama",
        u"passcode", u"security", u"şifre", u"sifre", u"pin"};

    const auto code = [](QString digits, bool pure) {
        return Codes::Code{digits.remove(u' ').remove(u'-'), pure};
    };
    const QString text = message.trimmed();
    if (wholeRun.match(text).hasMatch() || wholeSplit.match(text).hasMatch()) {
        return code(text, true);
    }
    const QString lower = text.toLower();
    if (std::none_of(keywords.begin(), keywords.end(),
                     [&](QStringView keyword) { return lower.contains(keyword); })) {
        return std::nullopt;
    }
    for (const QRegularExpression *expression : {&split, &run}) {
        const QRegularExpressionMatch match = expression->match(text);
        if (match.hasMatch()) {
            return code(match.captured(), false);
        }
    }
    return std::nullopt;
}

template <typename Messages, typename Extract>
void extractAll(benchmark::State &state, const Messages &all, Extract extract)
{
    while (state.KeepRunning()) {
        for (const auto &message : all) {
            benchmark::DoNotOptimize(extract(message));
        }
    }
    state.SetItemsProcessed(state.iterations() * int64_t(all.size()));
}

std::vector<std::string> bytes(const QStringList &texts)
{
    std::vector<std::string> result;
    for (const QString &text : texts) {
        result.push_back(text.toStdString());
    }
    return result;
}

void kavrinCodes(benchmark::State &state)
{
    extractAll(state, messages(), Codes::extract);
}
BENCHMARK(kavrinCodes);

void standardExpressions(benchmark::State &state)
{
    extractAll(state, bytes(messages()), extractWithStandardExpressions);
}
BENCHMARK(standardExpressions);

void qtExpressions(benchmark::State &state)
{
    extractAll(state, messages(), extractWithQtExpressions);
}
BENCHMARK(qtExpressions);

/// Peers with other results would do other work.
void checkThatAllAgree()
{
    for (const QString &message : messages()) {
        const Found found = Codes::extract(message);
        if (found != extractWithStandardExpressions(message.toStdString())
            || found != extractWithQtExpressions(message)) {
            qFatal("The peers disagree about \"%s\".", qUtf8Printable(message));
        }
    }
}

/// Describes the messages behind the figures; printed with them.
void describeMessages()
{
    qsizetype characters = 0;
    qsizetype codes = 0;
    for (const QString &message : messages()) {
        characters += message.size();
        codes += Codes::extract(message) ? 1 : 0;
    }
    const QByteArray length = QByteArray::number(double(characters) / double(messages().size()), 'f', 0);
    benchmark::AddCustomContext("messages", std::to_string(messages().size()));
    benchmark::AddCustomContext("characters in a message, on average", length.toStdString());
    benchmark::AddCustomContext("messages with a code", std::to_string(codes));
}

} // namespace

int main(int argc, char **argv)
{
    checkThatAllAgree();
    describeMessages();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
