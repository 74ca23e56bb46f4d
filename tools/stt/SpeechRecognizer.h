// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <stdexcept>
#include <stop_token>

struct ps_decoder_s;

namespace kavrin
{

/// Samples a second of everything that SpeechRecognizer hears.
constexpr int speechSampleRate = 16000;

/// Recognition was told to stop before it had heard everything.
class RecognitionStopped : public std::runtime_error
{
public:
    RecognitionStopped() : std::runtime_error("The speech service is shutting down.") { }
};

/// Turns recorded speech into text with PocketSphinx.
///
/// The answer depends only on the recording, not on earlier ones. The recognizer has one decoder (some 100
/// MB) and hears one piece of one recording at a time. Recordings that come while it works take turns with
/// it, piece by piece, in the order in which they came. So a short recording need not wait for the end of a
/// long one.
class SpeechRecognizer
{
public:
    /// Loads the model in `modelFolder`, which takes some tenths of a second. `modelFolder` holds the
    /// acoustic model `en-us`, the language model `en-us.lm.bin` and the dictionary `cmudict-en-us.dict`.
    /// Throws std::runtime_error with a message for the user if it cannot be loaded.
    explicit SpeechRecognizer(const QString &modelFolder);
    ~SpeechRecognizer();

    /// The words in `samples` (16-bit mono at speechSampleRate), in lower case and separated by single
    /// blanks. The empty string if there are none. Blocks for about a quarter of the recording's length.
    /// Throws RecognitionStopped within a few seconds after a request to stop. Any thread may call it.
    QString recognize(std::span<const std::int16_t> samples, const std::stop_token &stop = {});

private:
    struct DecoderDeleter {
        void operator()(ps_decoder_s *decoder) const;
    };
    class Turn;

    QString recognizePiece(std::span<const std::int16_t> piece);

    std::unique_ptr<ps_decoder_s, DecoderDeleter> m_decoder;
    std::mutex m_mutex;
    std::condition_variable m_turnEnded;
    std::uint64_t m_nextTurn = 0;
    std::uint64_t m_currentTurn = 0;
};

} // namespace kavrin
