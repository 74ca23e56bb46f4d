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

/// Samples a second of everything that SpeechRecognizer takes.
constexpr int speechSampleRate = 16000;

/// The recogniser was told to stop before it had heard everything.
class RecognitionStopped : public std::runtime_error
{
public:
    RecognitionStopped() : std::runtime_error("The speech service is shutting down.") { }
};

/// Turns recorded speech into text with PocketSphinx.
///
/// What it answers depends on the recording alone, not on what it heard before. It holds one decoder (some
/// 100 MB) and hears one piece of one recording at a time; recordings that come while it works take turns
/// with it piece by piece, in the order of their coming, so that a short one need not wait for a long one to
/// end.
class SpeechRecognizer
{
public:
    /// Loads the model in `modelFolder`, which takes some tenths of a second. `modelFolder` holds the
    /// acoustic model `en-us`, the language model `en-us.lm.bin` and the dictionary `cmudict-en-us.dict`.
    /// Throws std::runtime_error with a message for a person when it cannot be loaded.
    explicit SpeechRecognizer(const QString &modelFolder);
    ~SpeechRecognizer();

    /// The words spoken in `samples` (16-bit mono at speechSampleRate), in lower case and separated by single
    /// blanks; the empty string when there are none. Blocks for about a quarter of the recording's length.
    /// Throws RecognitionStopped within a few seconds after `stop` was requested. May be called from any
    /// thread.
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
