// SPDX-License-Identifier: MIT
// Measures the preference store where that takes several processes; benchmarks/store.py runs it.
//
// store_processes FOLDER fill
//     Stores the settings in FOLDER, in the suite and for QSettings.
// store_processes FOLDER read prefs|qsettings
//     Prints the nanoseconds from opening to the first value, and from opening to all values.
// store_processes FOLDER see suite|qsettings|pipe N
//     For each of N values that one process writes, prints the nanoseconds from the write's call and from its
//     return until another process has read it.
#include "StoredSettings.h"

#include <QFile>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <iostream>
#include <memory>
#include <new>
#include <thread>

using namespace Qt::StringLiterals;

using namespace kavrin;
using namespace kavrin::benchmarks;
using namespace std::chrono_literals;

namespace
{

const QString watchedKey = u"rowH"_s;

qint64 now()
{
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

template <typename Read> int printReads(Read read, qint64 begun)
{
    read(watchedKey);
    const qint64 first = now() - begun;
    const QStringList keys = content().keys();
    const qint64 begunAll = now();
    for (const QString &key : keys) {
        read(key);
    }
    std::cout << first << ' ' << first + now() - begunAll << '\n';
    return 0;
}

int readPrefs()
{
    return printReads([](const QString &key) { return Prefs::get<double>(key); }, now());
}

int readSettings(const QString &folder)
{
    const qint64 begun = now();
    const QSettings settings(iniPath(folder), QSettings::IniFormat);
    return printReads([&settings](const QString &key) { return settings.value(key).toDouble(); }, begun);
}

/// One way to get a value from process to process.
struct Channel {
    std::function<void(double)> write;
    std::function<double()> read; ///< reads the present value
};

Channel suiteChannel()
{
    return {[](double value) {
                if (const std::optional<Error> failure = Shared::d().set(watchedKey, value)) {
                    throw *failure;
                }
            },
            [] {
                const std::optional<PropertyListValue> value = Shared::d().object(watchedKey);
                return value ? std::get<double>(*value) : 0;
            }};
}

Channel settingsChannel(const QString &folder)
{
    const auto settings = std::make_shared<QSettings>(iniPath(folder), QSettings::IniFormat);
    return {[settings](double value) {
                settings->setValue(watchedKey, value);
                settings->sync();
            },
            [settings] {
                settings->sync();
                return settings->value(watchedKey).toDouble();
            }};
}

Channel pipeChannel(int readEnd, int writeEnd)
{
    const auto last = std::make_shared<double>(0);
    return {[writeEnd](double value) { static_cast<void>(::write(writeEnd, &value, sizeof value)); },
            [readEnd, last] {
                static_cast<void>(::read(readEnd, last.get(), sizeof *last));
                return *last;
            }};
}

/// The two processes exchange messages here, in memory that both have.
struct Board {
    std::atomic<double> expected = 0; ///< 0 makes the reader wait, a negative number ends it
    std::atomic<qint64> seen = 0; ///< when the expected value was read; 0 before that

    static Board *make()
    {
        void *memory =
            ::mmap(nullptr, sizeof(Board), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        return memory == MAP_FAILED ? nullptr : new (memory) Board;
    }
};

void watch(Board &board, const Channel &channel)
{
    channel.read();
    while (board.expected >= 0) {
        const double expected = board.expected;
        if (expected > 0 && board.seen == 0 && channel.read() == expected) {
            board.seen = now();
        }
    }
}

/// Each written value differs from the others, and all are equally long as text.
void writeAndPrint(Board &board, const Channel &channel, int rounds)
{
    for (int round = 1; round <= rounds; ++round) {
        // QSettings notices a change by the file's time stamp, which changes only after some milliseconds.
        std::this_thread::sleep_for(10ms);
        board.seen = 0;
        board.expected = 100000 + round;
        const qint64 called = now();
        channel.write(100000 + round);
        const qint64 returned = now();
        while (board.seen == 0) {
            std::this_thread::sleep_for(100us);
        }
        board.expected = 0;
        std::cout << board.seen - called << ' ' << board.seen - returned << '\n';
    }
    board.expected = -1;
}

int see(const QString &folder, const QString &way, int rounds)
{
    std::array<int, 2> ends{};
    Board *board = Board::make();
    if (board == nullptr || ::pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC) != 0) {
        std::perror("store_processes");
        return 1;
    }
    // Starts each process before anything is opened: a process must not inherit an open database.
    const pid_t reader = ::fork();
    const Channel channel = way == u"suite" ? suiteChannel()
        : way == u"qsettings"               ? settingsChannel(folder)
                                            : pipeChannel(ends[0], ends[1]);
    if (reader == 0) {
        watch(*board, channel);
        std::_Exit(0);
    }
    writeAndPrint(*board, channel, rounds);
    ::waitpid(reader, nullptr, 0);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int index = 1; index < argc; ++index) {
        arguments.append(QFile::decodeName(argv[index]));
    }
    const QString folder = arguments.value(0);
    const QString what = arguments.value(1);
    const QString way = arguments.value(2);
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder));
    if (what == u"fill") {
        fillSuite();
        fillIni(folder);
        return 0;
    }
    if (what == u"read") {
        return way == u"prefs" ? readPrefs() : readSettings(folder);
    }
    return see(folder, way, arguments.value(3).toInt());
}
