# SPDX-License-Identifier: MIT
"""In which function scripts/mutate finds a line."""

import unittest

from functions import function_of

SOURCE = """\
constexpr int limit = 8; // limit

/// Of its own.
class Certificate // Certificate
{
public:
    Certificate(const Certificate &) = delete; // Certificate::Certificate

    explicit Certificate(QByteArray text) // Certificate::Certificate
        : m_text(std::move(text)) // Certificate::Certificate
    {
        check(); // Certificate::Certificate
    }

    std::function<void(int)> then; // Certificate::then

private:
    int m_size = 0; // Certificate::m_size
};

template <typename T> T as(const Value &value); // as

template <> bool Prefs::get<bool>(const QString &key) // Prefs::get
{
    if (a) { // Prefs::get
        return [] {
            return b; // Prefs::get
        };
    }
}

QFuture<std::optional<Error>> Prefs::submit(const Changes &settings, // Prefs::submit
                                            int count) // Prefs::submit
{
    return {}; // Prefs::submit
}

const std::vector<std::pair<int, QString>> rows = { // rows
    {1, u"one"_s}, // rows
};

Recorder::Recorder(Platform platform) : m_platform(platform) { } // Recorder::Recorder

Recorder::~Recorder() // Recorder::~Recorder
"""


class FunctionsTest(unittest.TestCase):
    def test_finds_the_function_of_a_line_or_what_it_declares(self):
        for number, text in enumerate(SOURCE.splitlines(), start=1):
            line, _, expected = text.partition(" // ")
            if expected:
                with self.subTest(line):
                    self.assertEqual(function_of(SOURCE, number), expected)


if __name__ == "__main__":
    unittest.main()
