// SPDX-License-Identifier: MIT
//
// killed_writers ROUNDS SEED: processes that write into the shared suite as fast as they can, through
// the library that Kavrin itself uses, each killed with SIGKILL a few milliseconds after its start.
//
// Every number is written as a long text that says it over and over, and is printed once the suite has taken
// it: 64 bits at a time, in the order of writing. Exits with 1 where the suite refused a number.
#include "platform/UserDefaults.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>

namespace
{

using namespace kavrin;

constexpr int keyCount = 3;
constexpr int repetitions = 300;
constexpr qint64 numbersPerRound = 1'000'000;
constexpr int longestLife = 12'000; // microseconds; opening the suite takes about a third of it

[[noreturn]] void writeUntilKilled(qint64 number)
{
    const auto suite = UserDefaults::suite(QStringLiteral("group.app.kavrin.shared"));
    while (suite != nullptr) {
        const QString key = QStringLiteral("org.example.keyboard.%1").arg(number % keyCount);
        const QString value = QStringLiteral("%1 ").arg(number).repeated(repetitions);
        if (const std::optional<Error> failure = suite->set(key, value)) {
            std::fprintf(stderr, "%s\n", failure->what());
            break;
        }
        if (::write(STDOUT_FILENO, &number, sizeof(number)) != sizeof(number)) {
            break;
        }
        ++number;
    }
    std::_Exit(1);
}

/// Whether the writer wrote until it was killed.
bool writeAndKill(qint64 firstNumber, std::chrono::microseconds life)
{
    const pid_t writer = ::fork();
    if (writer == 0) {
        writeUntilKilled(firstNumber);
    }
    std::this_thread::sleep_for(life);
    ::kill(writer, SIGKILL);
    int status = 0;
    ::waitpid(writer, &status, 0);
    return WIFSIGNALED(status);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        return 2;
    }
    const int rounds = std::stoi(argv[1]);
    std::mt19937 random(std::mt19937::result_type(std::stoul(argv[2])));
    std::uniform_int_distribution<int> lives(0, longestLife);
    for (int round = 0; round < rounds; ++round) {
        if (!writeAndKill(round * numbersPerRound, std::chrono::microseconds(lives(random)))) {
            return 1;
        }
    }
    return 0;
}
