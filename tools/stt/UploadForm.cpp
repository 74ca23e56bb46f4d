// SPDX-License-Identifier: MIT
#include "tools/stt/UploadForm.h"

#include <httplib.h>

#include <map>

namespace kavrin
{
namespace
{

using Fields = std::map<std::string, std::string>;

// Reads to the end even if the form is refused; discardBody() explains why.
Fields readFields(const httplib::ContentReader &read, std::size_t largest)
{
    Fields fields;
    std::string *current = nullptr;
    std::size_t size = 0;
    const bool complete = read(
        // Newer versions of the library have another name for this type.
        [&](const auto &part) {
            current = &fields[part.name];
            current->clear();
            return true;
        },
        [&](const char *data, std::size_t length) {
            size += length;
            if (size <= largest) {
                current->append(data, length);
            } else {
                fields.clear();
                current = &fields[{}];
            }
            return true;
        });
    if (size > largest) {
        throw Refusal(413,
                      "The upload is larger than " + std::to_string(largest)
                          + " bytes, the most that is taken. "
                            "Send the recording in parts, or coded more tightly.",
                      "file");
    }
    if (!complete) {
        throw Refusal(400, "The upload ended early or is not a well-formed multipart/form-data body.");
    }
    return fields;
}

ResponseFormat responseFormat(const Fields &fields)
{
    const auto found = fields.find("response_format");
    if (found == fields.end() || found->second == "json") {
        return ResponseFormat::Json;
    }
    if (found->second == "text") {
        return ResponseFormat::Text;
    }
    throw Refusal(
        400, "The response_format \"" + found->second + "\" is not supported. Ask for \"json\" or \"text\".",
        "response_format");
}

} // namespace

void discardBody(const httplib::Request &request, const httplib::ContentReader &read)
{
    const auto discard = [](const char *, std::size_t) { return true; };
    if (request.is_multipart_form_data()) {
        read([](const auto & /*part*/) { return true; }, discard);
    } else {
        read(discard);
    }
}

UploadForm readUploadForm(const httplib::Request &request, const httplib::ContentReader &read,
                          std::size_t largest)
{
    if (!request.is_multipart_form_data()) {
        discardBody(request, read);
        throw Refusal(400,
                      "Send the recording as a multipart/form-data body with the fields file and model.");
    }
    Fields fields = readFields(read, largest);
    for (const char *required : {"file", "model"}) {
        if (!fields.contains(required)) {
            throw Refusal(400, std::string("The field ") + required + " is missing from the form.", required);
        }
    }
    const ResponseFormat format = responseFormat(fields);
    return {std::move(fields["file"]), format};
}

} // namespace kavrin
