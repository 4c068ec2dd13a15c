#include "files/error.h"

#include <new>
#include <stdexcept>

namespace files
{

Refusal::Refusal(FileError error) : error_(std::move(error))
{
}

Refusal::~Refusal() = default;

const char* Refusal::what() const noexcept
{
    return error_.sentence.c_str();
}

void refuseDamaged(std::string sentence)
{
    throw Refusal({FileError::Kind::damaged, std::move(sentence)});
}

void refuseUnsupported(std::string sentence)
{
    throw Refusal({FileError::Kind::notSupported, std::move(sentence)});
}

void refuseForeign(std::string sentence)
{
    throw Refusal({FileError::Kind::foreign, std::move(sentence)});
}

FileError caughtError()
{
    try {
        throw;
    } catch (const Refusal& refusal) {
        return refusal.error();
    } catch (const std::bad_alloc&) {
        return FileError{FileError::Kind::outOfMemory, "does not fit in memory"};
    } catch (const std::length_error&) { // more than a vector holds on 32-bit machines
        return FileError{FileError::Kind::outOfMemory, "does not fit in memory"};
    } catch (const std::exception& error) {
        return FileError{FileError::Kind::system, std::string("cannot be read: ") + error.what()};
    }
}

} // namespace files
