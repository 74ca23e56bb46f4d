// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace httplib
{
struct Request;
class ContentReader;
} // namespace httplib

namespace kavrin
{

enum class ResponseFormat { Json, Text };

/// The form that a caller sends to get a recording transcribed.
struct UploadForm {
    std::string file;
    ResponseFormat format = ResponseFormat::Json;
};

/// Why a request is not answered: an HTTP status, a sentence for the person who sent it, and the form field
/// at fault (empty if there is none).
class Refusal : public std::runtime_error
{
public:
    Refusal(int status, const std::string &message, std::string field = {})
        : std::runtime_error(message), m_status(status), m_field(std::move(field))
    {
    }

    [[nodiscard]] int status() const { return m_status; }
    [[nodiscard]] const std::string &field() const { return m_field; }

private:
    int m_status;
    std::string m_field;
};

/// Reads the body of `request` to its end and keeps nothing of it. Closing a connection with unread input
/// would reset it, and the caller would not get the answer.
void discardBody(const httplib::Request &request, const httplib::ContentReader &read);

/// Reads the multipart form in the body of `request` to its end, and keeps at most `largest` bytes of it,
/// however many come. Throws Refusal if it is not such a form, is larger, or has fields that do not ask for a
/// transcription.
UploadForm readUploadForm(const httplib::Request &request, const httplib::ContentReader &read,
                          std::size_t largest);

} // namespace kavrin
