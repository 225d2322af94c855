#pragma once

#include <cstdarg>
#include <cstddef>

/// printf into a buffer for signal handlers: no allocation, no lock, no locale, errno untouched.
/// Conversions d i u x X o c s p and %, with flags, width, precision and the lengths hh h l ll z j t.
/// Widths and precisions above a million count as a million.
/// At a conversion it does not know, the rest of the format is copied as it stands, because the
/// arguments behind it cannot be found any more.
/// @param size  of the buffer, at least 1; the text is cut to it and always NUL-terminated
/// @return the length of the whole text, as if the buffer had been large enough
std::size_t FormatSignalSafe(char* buffer, std::size_t size, const char* format, std::va_list arguments)
    __attribute__((format(printf, 3, 0)));
