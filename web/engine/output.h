/**
 * @file output.h
 * The binary part of an answer.
 */
#ifndef ZARNGI_WEB_ENGINE_OUTPUT_H
#define ZARNGI_WEB_ENGINE_OUTPUT_H

#include <memory>
#include <span>
#include <utility>

#include "files/bytes.h"

namespace engine
{

/** Bytes as the script takes them, where they stand: what is as large as a grid is not copied. */
class Output
{
public:
    Output() = default;

    /** @param made text, bytes or numbers, which are kept */
    template <class Made> Output(Made made)
    {
        auto kept = std::make_shared<const Made>(std::move(made));
        bytes_ = bytesOf(std::span(kept->data(), kept->size()));
        kept_ = std::move(kept);
    }

    /** @param numbers that stay where they are as long as the output is looked at */
    static Output lent(std::span<const float> numbers)
    {
        Output output;
        output.bytes_ = bytesOf(numbers);
        return output;
    }

    files::ByteView bytes() const { return bytes_; }
    /** Of numbers that were made or lent as such. */
    std::span<const float> floats() const
    {
        return {reinterpret_cast<const float*>(bytes_.data()), bytes_.size() / sizeof(float)};
    }

private:
    template <class Number> static files::ByteView bytesOf(std::span<const Number> numbers)
    {
        return {reinterpret_cast<const unsigned char*>(numbers.data()), numbers.size_bytes()};
    }

    std::shared_ptr<const void> kept_;
    files::ByteView bytes_;
};

} // namespace engine

#endif
