// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Completion.h"
#include "tools/kavrinctl/RunningKavrin.h"
#include "tools/kavrinctl/Suggestion.h"
#include "tools/kavrinctl/Verb.h"

#include "platform/Error.h"
#include "platform/Logging.h"
#include "platform/linux/desktop/CoreFiles.h"
#include "platform/linux/storage/BaseDirectories.h"
#include "store/Shared.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

using namespace Qt::StringLiterals;

namespace
{

using namespace kavrin;
using namespace kavrin::ctl;

constexpr std::array verbs = {
    Verb{"where", "[--json]", "Where the shared suite and the recording are", "", where},
    Verb{"catalogue", "[--json]\n--find WORDS", "Every setting, with its value or as data",
         "With --find only what fits the words, the best first, as the window searches: by titles, footers, "
         "options\n"
         "and other names, forgiving a typing error and missing accents.",
         ctl::catalogue},
    Verb{"get", "KEY [--json]", "The value of a setting, its default when it was never set", "", get},
    Verb{"set", "KEY VALUE\nKEY -", "Change a setting",
         "A switch takes on or off, yes or no, true or false, a slider a number within its range, a choice "
         "one of its options.\n"
         "With - the value is read from standard input. A terminal asks for it, and does not show it.\n"
         "Enter keys like this: other users can read the arguments of a program that runs.",
         set},
    Verb{"defaults",
         "read [KEY] [--types]\nwrite KEY --bool|--int|--double|--string|--date|--data VALUE\ndelete KEY",
         "The shared suite as a keyboard sees it, unchecked",
         "Values are printed as JSON; dates are ISO 8601, data is Base64.", defaults},
    Verb{"tools", "[--json]\nset ORDER HIDDEN", "The toolbar's order and its hidden tools",
         "ORDER and HIDDEN are tools joined by commas; \"\" is an empty list.", tools},
    Verb{"export", "", "All settings and keys as one line of text", "Keep it to yourself: it holds API keys.",
         exportSettings},
    Verb{"import", "[TEXT | -]", "Read back what export or reset kept; from standard input without TEXT",
         "A value that does not fit its setting is named and left as it was.", importSettings},
    Verb{"reset", "KEY...\n--all", "Back to the defaults: these settings, or all but the texts (API keys)",
         "With --all what the settings were is kept in a file, for kavrinctl import.", reset},
    Verb{"extract-code", "[TEXT | -]\n--lines", "The verification code in a message",
         "Reads standard input without TEXT. With --lines each line of it is a message and has a line as\n"
         "answer, null where there is no code.",
         extractCode},
    Verb{"save-code", "[TEXT | -]", "Save the verification code in a message for the keyboard",
         "Reads standard input without TEXT, and says which code was saved, or that there is none. Standard\n"
         "input is safer: other users can read the arguments of a program that runs.",
         saveCode},
    Verb{"transcribe", "FILE", "The text of a recording, from the configured service", "", transcribe},
    Verb{"dictate", "start | stop | toggle | cancel | again\nstatus [--json]\nwait [--timeout SECONDS]",
         "Dictate with the running application",
         "start and stop return when the application has obeyed. toggle is for a hotkey: it starts, or "
         "stops.\n"
         "cancel gives up a recording or its transcription: no text comes.\n"
         "again sends the latest recording once more whose transcription failed.\n"
         "wait prints the text of the next dictation, and marks it as used. One that has ended less than a "
         "minute\n"
         "ago counts, unless a keyboard has used its text. wait fails when the dictation has failed, and "
         "after\n"
         "SECONDS, or five minutes.",
         dictate},
    Verb{"setup",
         "embedded [--keep]\nserver URL [--model MODEL] [--key] [--keep]\nopenai [--keep]\ngemini [--keep]",
         "Choose the speech service, and try it with a sample of speech",
         "embedded starts kavrin-stt, which needs neither account nor network. server is any with OpenAI's\n"
         "interface; URL is its whole address, such as http://127.0.0.1:8080/v1/audio/transcriptions.\n"
         "openai, gemini and --key ask for a key, which a terminal does not show, or read it from standard "
         "input.\n"
         "Nothing changes if the service does not understand the sample, unless you say --keep.",
         setup},
    Verb{"doctor", "[--json]", "Whether everything that dictation needs works, and what to do if not",
         "Asks Kavrin, the sound server, the speech service and the desktop. Opens the microphone for a "
         "second.\n"
         "No sound is kept or sent. The exit code is 0 only if nothing is bad.",
         doctor},
    Verb{"type", "toggle | press | release | cancel | shortcut",
         "Dictate, and have kavrin-typist type the text where the cursor is",
         "For the key bindings of a desktop. toggle starts, or stops. With press and release, a key that is\n"
         "held records while it is held; one that is tapped starts, or stops.\n"
         "cancel gives up the dictation: nothing is typed.\n"
         "shortcut makes the desktop ask again whether it gives kavrin-typist a key, after you have refused "
         "that.",
         type},
    Verb{"watch-messages", "[--containing WORD]",
         "Save the verification codes of text messages as they arrive",
         "Runs until it is ended. Modems may come and go; what is on them already is left alone.\n"
         "With --containing only messages that contain WORD count, in capitals or not.",
         watchMessages},
};

QString usage(const Verb &verb)
{
    QString text;
    for (const QString &form : QString::fromLatin1(verb.usage).split(u'\n')) {
        text += u"  kavrinctl %1 %2"_s.arg(QLatin1String(verb.name), form).trimmed().prepend(u"  ") + u'\n';
    }
    return text;
}

QString help(const Verb &verb)
{
    QString text = QString::fromUtf8(verb.summary) + u".\n\n"_s + usage(verb);
    if (*verb.help != '\0') {
        text += u'\n' + QString::fromUtf8(verb.help) + u'\n';
    }
    return text;
}

QString generalHelp()
{
    QString text = u"kavrinctl VERB [ARGUMENTS]: Kavrin from the command line.\n\n"_s;
    for (const Verb &verb : verbs) {
        text += u"  %1 %2\n"_s.arg(QLatin1String(verb.name), -14).arg(QLatin1String(verb.summary));
    }
    return text
        + u"\n\"kavrinctl help VERB\" tells more. Exit code: 0 done, 1 refused, failed or no such "
          "value, 2 wrong usage.\n"_s;
}

void write(std::FILE *stream, const QString &text)
{
    std::fputs(text.toUtf8().constData(), stream);
}

/// The verb of this name. Null if there is none.
const Verb *findVerb(const QString &name)
{
    const auto *verb =
        std::ranges::find_if(verbs, [&](const Verb &known) { return name == QLatin1String(known.name); });
    return verb == verbs.end() ? nullptr : verb;
}

int refuseVerb(const QString &name)
{
    QStringList names;
    std::ranges::transform(verbs, std::back_inserter(names),
                           [](const Verb &verb) { return QString::fromLatin1(verb.name); });
    const QString advice = suggestion(name, names, u"\"kavrinctl --help\" lists what there is."_s);
    write(stderr, u"kavrinctl: There is no \"%1\". %2\n"_s.arg(name, advice));
    return WrongUsage;
}

bool asksForHelp(const QString &word)
{
    return word == u"--help" || word == u"-h";
}

/// "kavrinctl help" and "kavrinctl help VERB".
int showHelp(const QString &name)
{
    const Verb *const verb = findVerb(name);
    if (verb == nullptr && !name.isEmpty()) {
        return refuseVerb(name);
    }
    write(stdout, verb != nullptr ? help(*verb) : generalHelp());
    return Done;
}

/// Whether a running application may know a setting that the verb has changed.
bool mayChangeSettings(const Verb &verb)
{
    constexpr std::array names = {"set"_L1, "tools"_L1, "import"_L1, "reset"_L1, "setup"_L1};
    return std::ranges::find(names, QLatin1String(verb.name)) != names.end();
}

/// Otherwise, what the arguments hold would be changed on the way to a setting.
bool areUtf8(int count, char **arguments)
{
    return std::all_of(arguments, arguments + count,
                       [](const char *argument) { return QByteArrayView(argument).isValidUtf8(); });
}

int run(const Verb &verb, QStringList arguments)
{
    if (asksForHelp(arguments.value(0))) {
        write(stdout, help(verb));
        return Done;
    }
    const auto fail = [](const QString &message) { write(stderr, u"kavrinctl: %1\n"_s.arg(message)); };
    UserDefaults::onDamage(fail);
    if (Shared::group() && !Shared::isShared()) {
        fail(u"The suite shared with the keyboard cannot be opened; these are the private settings."_s);
    }
    try {
        verb.run(arguments);
        return Done;
    } catch (const UsageError &error) {
        fail(error.message + u"\n"_s + usage(verb).chopped(1));
        return WrongUsage;
    } catch (const Refusal &refusal) {
        fail(refusal.message);
    } catch (const Error &error) {
        fail(error.localizedDescription);
    }
    return Refused;
}

} // namespace

int main(int argc, char **argv)
{
    leaveNoCoreFiles();
    ignoreRelativeBaseDirectories();
    Logging::setUp();
    const QCoreApplication application(argc, argv);
    if (!areUtf8(argc, argv)) {
        write(stderr, u"kavrinctl: An argument is not UTF-8 text.\n"_s);
        return Refused;
    }
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.isEmpty()) {
        write(stderr, generalHelp());
        return WrongUsage;
    }
    const QString name = arguments.takeFirst();
    if (asksForHelp(name) || name == u"help") {
        return showHelp(arguments.value(0));
    }
    if (name == u"complete") { // for shells: the words after it, of which the last is incomplete
        write(stdout, completions(verbs, arguments.mid(1)).join(u'\n') + u'\n');
        return Done;
    }
    if (name == u"--version") {
        write(stdout, QStringLiteral("kavrinctl " KAVRIN_VERSION "\n"));
        return Done;
    }
    const Verb *const verb = findVerb(name);
    if (verb == nullptr) {
        return refuseVerb(name);
    }
    const int code = run(*verb, arguments);
    if (mayChangeSettings(*verb)) {
        tellOfSettings();
    }
    return code;
}
