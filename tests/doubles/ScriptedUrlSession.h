// SPDX-License-Identifier: MIT
#pragma once

#include "platform/UrlSession.h"

#include <gtest/gtest.h>

#include <deque>
#include <variant>
#include <vector>

namespace kavrin::test
{

/// A session that reaches nothing: it remembers what it is asked to send and answers, one after the other, as
/// it was told. The test fails when it is asked for more.
class ScriptedUrlSession final : public UrlSession
{
public:
    using Answer = std::variant<QByteArray, Error>;

    ScriptedUrlSession() = default;

    explicit ScriptedUrlSession(const Answer &answer) : answers{answer} { }

    QCoro::Task<QByteArray> data(UrlRequest request) override
    {
        requests.push_back(std::move(request));
        if (answers.empty()) {
            ADD_FAILURE() << "nothing was to be sent to " << requests.back().url.toStdString();
            throw Error(QStringLiteral("network"), 0, QStringLiteral("There is no answer."));
        }
        const Answer answer = answers.front();
        answers.pop_front();
        if (const Error *error = std::get_if<Error>(&answer)) {
            throw Error(*error);
        }
        co_return std::get<QByteArray>(answer);
    }

    std::vector<UrlRequest> requests; ///< what was sent so far
    std::deque<Answer> answers; ///< what is answered next
};

} // namespace kavrin::test
