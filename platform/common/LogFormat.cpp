#include "LogFormat.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

constexpr int kWidest = 1'000'000;

/// The buffer as far as it goes, and the length the text would have had.
class Writer {
 public:
  Writer(char* buffer, std::size_t size) : m_buffer(buffer), m_size(size) {}

  void Put(char c) {
    if (m_length + 1 < m_size) {
      m_buffer[m_length] = c;
    }
    ++m_length;
  }
  void Put(const char* text, std::size_t length) {
    if (m_length + 1 < m_size) {
      std::memcpy(m_buffer + m_length, text, std::min(length, m_size - 1 - m_length));
    }
    m_length += length;
  }
  void Fill(char c, int count) {
    for (; count > 0; --count) {
      Put(c);
    }
  }
  std::size_t Finish() {
    m_buffer[m_length < m_size ? m_length : m_size - 1] = '\0';
    return m_length;
  }

 private:
  char* m_buffer;
  std::size_t m_size;
  std::size_t m_length = 0;
};

enum class Length { kInt, kChar, kShort, kLong, kLongLong, kSize, kIntMax, kPtrDiff };

struct Conversion {
  bool left = false;
  bool zero = false;
  bool plus = false;
  bool space = false;
  bool alternate = false;
  int width = 0;
  int precision = -1;
  Length length = Length::kInt;
};

/// A va_list that can be handed on by reference, which the bare type cannot everywhere.
struct Arguments {
  std::va_list list;
};

const char* ReadNumber(const char* p, int& number, Arguments& arguments) {
  if (*p == '*') {
    number = std::clamp(va_arg(arguments.list, int), -kWidest, kWidest);
    return p + 1;
  }
  for (number = 0; *p >= '0' && *p <= '9'; ++p) {
    number = std::min(number * 10 + (*p - '0'), kWidest);
  }
  return p;
}

const char* ReadFlags(const char* p, Conversion& conversion) {
  for (;; ++p) {
    switch (*p) {
      case '-':
        conversion.left = true;
        break;
      case '0':
        conversion.zero = true;
        break;
      case '+':
        conversion.plus = true;
        break;
      case ' ':
        conversion.space = true;
        break;
      case '#':
        conversion.alternate = true;
        break;
      default:
        return p;
    }
  }
}

const char* ReadLength(const char* p, Conversion& conversion) {
  switch (*p) {
    case 'h':
      conversion.length = p[1] == 'h' ? Length::kChar : Length::kShort;
      return p[1] == 'h' ? p + 2 : p + 1;
    case 'l':
      conversion.length = p[1] == 'l' ? Length::kLongLong : Length::kLong;
      return p[1] == 'l' ? p + 2 : p + 1;
    case 'z':
      conversion.length = Length::kSize;
      return p + 1;
    case 'j':
      conversion.length = Length::kIntMax;
      return p + 1;
    case 't':
      conversion.length = Length::kPtrDiff;
      return p + 1;
    default:
      return p;
  }
}

/// @return where its letter stands
const char* ReadConversion(const char* p, Conversion& conversion, Arguments& arguments) {
  if (*p == 's' || *p == 'd') {  // what most lines consist of
    return p;
  }
  p = ReadFlags(p, conversion);
  p = ReadNumber(p, conversion.width, arguments);
  if (conversion.width < 0) {
    conversion.left = true;
    conversion.width = -conversion.width;
  }
  if (*p == '.') {
    p = ReadNumber(p + 1, conversion.precision, arguments);
  }
  return ReadLength(p, conversion);
}

std::intmax_t SignedArgument(Length length, Arguments& arguments) {
  switch (length) {
    case Length::kInt:
      return va_arg(arguments.list, int);
    case Length::kChar:
      return static_cast<signed char>(va_arg(arguments.list, int));
    case Length::kShort:
      return static_cast<short>(va_arg(arguments.list, int));
    case Length::kLong:
      return va_arg(arguments.list, long);
    case Length::kLongLong:
      return va_arg(arguments.list, long long);
    case Length::kSize:
    case Length::kPtrDiff:
      return va_arg(arguments.list, std::ptrdiff_t);
    case Length::kIntMax:
      return va_arg(arguments.list, std::intmax_t);
  }
  return 0;
}

std::uintmax_t UnsignedArgument(Length length, Arguments& arguments) {
  switch (length) {
    case Length::kInt:
      return va_arg(arguments.list, unsigned);
    case Length::kChar:
      return static_cast<unsigned char>(va_arg(arguments.list, unsigned));
    case Length::kShort:
      return static_cast<unsigned short>(va_arg(arguments.list, unsigned));
    case Length::kLong:
      return va_arg(arguments.list, unsigned long);
    case Length::kLongLong:
      return va_arg(arguments.list, unsigned long long);
    case Length::kSize:
    case Length::kPtrDiff:
      return va_arg(arguments.list, std::size_t);
    case Length::kIntMax:
      return va_arg(arguments.list, std::uintmax_t);
  }
  return 0;
}

void PutText(Writer& out, const Conversion& conversion, const char* text, std::size_t length) {
  const int padding = conversion.width - static_cast<int>(length);
  if (!conversion.left) {
    out.Fill(' ', padding);
  }
  out.Put(text, length);
  if (conversion.left) {
    out.Fill(' ', padding);
  }
}

/// @param leading_zero  whether the digits must begin with one, however many there are
void PutNumber(Writer& out, const Conversion& conversion, std::uintmax_t value, unsigned base,
               const char* prefix, bool upper = false, bool leading_zero = false) {
  const char* digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
  char text[sizeof(value) * 3];
  char* const end = text + sizeof text;
  char* first = end;
  for (; value != 0; value /= base) {
    *--first = digits[value % base];
  }
  const int digit_count = static_cast<int>(end - first);
  const int prefix_length = static_cast<int>(std::strlen(prefix));
  int zeros = (conversion.precision < 0 ? 1 : conversion.precision) - digit_count;
  if (leading_zero && zeros < 1) {
    zeros = 1;
  }
  if (conversion.zero && !conversion.left && conversion.precision < 0) {
    zeros = conversion.width - prefix_length - digit_count > zeros
                ? conversion.width - prefix_length - digit_count
                : zeros;
  }
  const int padding = conversion.width - prefix_length - digit_count - (zeros > 0 ? zeros : 0);
  if (!conversion.left) {
    out.Fill(' ', padding);
  }
  out.Put(prefix, static_cast<std::size_t>(prefix_length));
  out.Fill('0', zeros);
  out.Put(first, static_cast<std::size_t>(digit_count));
  if (conversion.left) {
    out.Fill(' ', padding);
  }
}

void PutSigned(Writer& out, const Conversion& conversion, std::intmax_t value) {
  const char* sign = value < 0 ? "-" : conversion.plus ? "+" : conversion.space ? " " : "";
  const auto magnitude = value < 0 ? std::uintmax_t{0} - static_cast<std::uintmax_t>(value)
                                   : static_cast<std::uintmax_t>(value);
  PutNumber(out, conversion, magnitude, 10, sign);
}

/// @return false for a conversion that is not known
bool PutConversion(Writer& out, Conversion conversion, char kind, Arguments& arguments) {
  switch (kind) {
    case '%':
      out.Put('%');
      return true;
    case 'd':
    case 'i':
      PutSigned(out, conversion, SignedArgument(conversion.length, arguments));
      return true;
    case 'u':
      PutNumber(out, conversion, UnsignedArgument(conversion.length, arguments), 10, "");
      return true;
    case 'o':
      PutNumber(out, conversion, UnsignedArgument(conversion.length, arguments), 8, "", false,
                conversion.alternate);
      return true;
    case 'x':
    case 'X': {
      const std::uintmax_t value = UnsignedArgument(conversion.length, arguments);
      const char* prefix = conversion.alternate && value != 0 ? (kind == 'x' ? "0x" : "0X") : "";
      PutNumber(out, conversion, value, 16, prefix, kind == 'X');
      return true;
    }
    case 'p': {
      const void* pointer = va_arg(arguments.list, void*);
      if (pointer == nullptr) {
        PutText(out, conversion, "(nil)", 5);
      } else {
        PutNumber(out, conversion, reinterpret_cast<std::uintptr_t>(pointer), 16, "0x");
      }
      return true;
    }
    case 'c': {
      const char c = static_cast<char>(va_arg(arguments.list, int));
      PutText(out, conversion, &c, 1);
      return true;
    }
    case 's': {
      const char* text = va_arg(arguments.list, const char*);
      if (text == nullptr) {
        text = "(null)";
      }
      PutText(out, conversion, text,
              conversion.precision < 0 ? std::strlen(text)
                                       : strnlen(text, static_cast<std::size_t>(conversion.precision)));
      return true;
    }
    default:
      return false;
  }
}

}  // namespace

std::size_t FormatSignalSafe(char* buffer, std::size_t size, const char* format,
                             std::va_list arguments) {
  Writer out(buffer, size);
  Arguments rest;
  va_copy(rest.list, arguments);
  for (const char* p = format;; ++p) {
    const char* const literal = p;
    p = strchrnul(p, '%');
    out.Put(literal, static_cast<std::size_t>(p - literal));
    if (*p == '\0') {
      break;
    }
    Conversion conversion;
    const char* const kind = ReadConversion(p + 1, conversion, rest);
    if (!PutConversion(out, conversion, *kind, rest)) {
      out.Put(p, std::strlen(p));
      break;
    }
    p = kind;
  }
  va_end(rest.list);
  return out.Finish();
}
