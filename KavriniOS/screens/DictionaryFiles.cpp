// SPDX-License-Identifier: MIT
#include "screens/DictionaryFiles.h"

#include "platform/Error.h"
#include "platform/OrdinaryFile.h"
#include "store/DictionaryKey.h"
#include "store/Shared.h"
#include "store/SuiteWriter.h"

#include <QCoroFuture>
#include <QFile>
#include <QPointer>
#include <QSaveFile>
#include <QSet>
#include <QStringDecoder>
#include <QStringList>

#include <memory>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

constexpr qint64 mostBytes = 4'000'000;

QString textIn(const std::optional<PropertyListValue> &stored)
{
    const QString *text = stored ? std::get_if<QString>(&*stored) : nullptr;
    return text != nullptr ? *text : QString();
}

/// Throws Error.
void expectFile(const QString &path)
{
    if (!canBeFile(path)) {
        throw Error(u"dictionary"_s, 4, u"It is no ordinary file."_s);
    }
}

/// Throws Error.
QStringList linesOf(const QString &path)
{
    expectFile(path);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw Error(u"dictionary"_s, 1, file.errorString());
    }
    const QByteArray bytes = file.read(mostBytes + 1);
    QStringDecoder decode(QStringDecoder::Utf8);
    const QString text = decode(bytes);
    if (bytes.size() > mostBytes || decode.hasError() || text.contains(QChar(u'\0'))) {
        throw Error(u"dictionary"_s, 2, u"It is not a text in UTF-8, or too large."_s);
    }
    return QString(text).replace(u"\r\n"_s, u"\n"_s).split(u'\n', Qt::SkipEmptyParts);
}

/// Throws Error.
void save(const QString &text, const QString &path)
{
    expectFile(path);
    QSaveFile file(path);
    file.setDirectWriteFallback(true);
    const QByteArray bytes = text.toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        throw Error(u"dictionary"_s, 3, file.errorString());
    }
}

/// The lines that `text` does not have, each once.
QStringList newLines(const QStringList &lines, const QString &text)
{
    const QStringList known = text.split(u'\n');
    QSet<QString> seen(known.begin(), known.end());
    QStringList added;
    for (const QString &line : lines) {
        if (!seen.contains(line)) {
            seen.insert(line);
            added.append(line);
        }
    }
    return added;
}

QString withLines(const QString &text, const QStringList &lines)
{
    const QString start = text.isEmpty() || text.endsWith(u'\n') ? text : text + u'\n';
    return start + lines.join(u'\n') + u'\n';
}

} // namespace

DictionaryFiles::DictionaryFiles(FileChooser &chooser, QObject *parent) : QObject(parent), m_chooser(chooser)
{
}

void DictionaryFiles::importFile()
{
    chooseAndImport();
}

void DictionaryFiles::exportFile()
{
    chooseAndExport();
}

QCoro::Task<> DictionaryFiles::chooseAndImport()
{
    const QPointer self(this);
    clear();
    QString note;
    QString problem;
    try {
        const QCoro::Task<QString> choice = m_chooser.fileToOpen(tr("Import a dictionary"));
        const QString path = co_await choice;
        if (path.isEmpty()) {
            co_return;
        }
        const QStringList lines = linesOf(path);
        const auto added = std::make_shared<qsizetype>(0);
        const QFuture<std::optional<Error>> written = SuiteWriter::edit(
            dictionaryKey,
            [lines,
             added](const std::optional<PropertyListValue> &stored) -> std::optional<PropertyListValue> {
                const QString text = textIn(stored);
                const QStringList fresh = newLines(lines, text);
                *added = fresh.size();
                return fresh.isEmpty() ? std::nullopt
                                       : std::optional<PropertyListValue>(withLines(text, fresh));
            },
            [](bool) {});
        const std::optional<Error> failure = co_await written;
        if (failure) {
            throw Error(*failure);
        }
        note = *added == 1 ? tr("1 line added.") : tr("%1 lines added.").arg(*added);
    } catch (const Error &error) {
        problem = tr("Nothing was imported. %1").arg(error.localizedDescription);
    }
    if (self) {
        tell(note, problem);
    }
}

QCoro::Task<> DictionaryFiles::chooseAndExport()
{
    const QPointer self(this);
    clear();
    QString note;
    QString problem;
    try {
        const QCoro::Task<QString> choice =
            m_chooser.fileToSave(tr("Export the dictionary"), u"dictionary.txt"_s);
        const QString path = co_await choice;
        if (path.isEmpty()) {
            co_return;
        }
        const auto [stored, failure] = Shared::d().read(dictionaryKey);
        if (failure) {
            throw Error(*failure);
        }
        save(textIn(stored), path);
        note = tr("Exported to %1.").arg(path);
    } catch (const Error &error) {
        problem = tr("Nothing was exported. %1").arg(error.localizedDescription);
    }
    if (self) {
        tell(note, problem);
    }
}

void DictionaryFiles::tell(const QString &note, const QString &problem)
{
    m_note = note;
    m_problem = problem;
    Q_EMIT told();
}

} // namespace kavrin
