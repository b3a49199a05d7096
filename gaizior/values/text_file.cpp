#include "gaizior/values/text_file.h"

#include "gaizior/platform/stream.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

namespace gaizior {
namespace {

constexpr unsigned char kMark[] = {0xFF, 0xFE};
constexpr unsigned char kReverseMark[] = {0xFE, 0xFF};

struct CloseFile {
    void operator()(std::FILE* file) const {
        std::fclose(file);
    }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

/// Tells what an opened file is by its own stream: another one would hang on a pipe or take what is meant for this one.
/// Only a regular file that is opened for nothing but appending needs one, since its own cannot be read.
bool BeginsWithMark(std::FILE* file, const char* path, const char* mode) {
    if (std::strpbrk(mode, "r+")) {
        return FileIsUnicode(file) == 1;
    }
    const File look(IsRegularFile(file) ? OpenFile(path, "rb") : nullptr);
    return FileIsUnicode(look.get()) == 1;
}

/// Writes the mark, or steps behind it. Line ends must not be translated between the two bytes of a unit.
bool BeginUnicode(std::FILE* file, bool writes) {
    KeepLineEnds(file);
    return writes ? std::fwrite(kMark, sizeof kMark, 1, file) == 1 : std::fseek(file, sizeof kMark, SEEK_SET) == 0;
}

/// @returns how many of the characters have been written as units.
int PutUnits(std::FILE* file, std::string_view text) {
    int written = 0;
    for (const char character : text) {
        const char unit[] = {character, '\0'};
        if (std::fwrite(unit, sizeof unit, 1, file) != 1) {
            break;
        }
        ++written;
    }
    return written;
}

/// The next unit; nothing at the end of the file, where half a unit counts for nothing.
std::optional<unsigned> GetUnit(std::FILE* file) {
    const int low = std::getc(file);
    const int high = low == EOF ? EOF : std::getc(file);
    if (high == EOF) {
        return std::nullopt;
    }
    return static_cast<unsigned>(high << 8 | low);
}

char* GetUnicodeLine(char* buf, unsigned int n, std::FILE* file) {
    unsigned int length = 0;
    while (length + 1 < n) {
        const std::optional<unsigned> unit = GetUnit(file);
        if (!unit) {
            break;
        }
        buf[length++] = *unit <= UCHAR_MAX ? static_cast<char>(*unit) : '?';
        if (*unit == '\n') {
            break;
        }
    }
    buf[length] = '\0';
    return length > 0 || n == 1 ? buf : nullptr;
}

/// Takes the text as a format once more, on purpose; there are no arguments, so "%%" is all that means anything.
std::size_t FormatAgain(char* text) {
    char* end = text;
    for (const char* next = text; *next; ++next) {
        if (next[0] == '%' && next[1] == '%') {
            ++next;
        }
        *end++ = *next;
    }
    return static_cast<std::size_t>(end - text);
}

} // namespace
} // namespace gaizior

std::FILE* FOpen(const char* path, const char* mode, int* isUnicode) {
    const bool writes = mode && std::strchr(mode, 'w');
    gaizior::File file(gaizior::OpenFile(path, mode));
    if (!file) {
        return nullptr;
    }
    const bool unicode = writes ? isUnicode && *isUnicode == 1 : gaizior::BeginsWithMark(file.get(), path, mode);
    if (unicode && !gaizior::BeginUnicode(file.get(), writes)) {
        return nullptr;
    }
    if (!writes && isUnicode) {
        *isUnicode = unicode ? 1 : 0;
    }
    return file.release();
}

int FileIsUnicode(std::FILE* file) {
    std::fpos_t position;
    if (!file || std::fgetpos(file, &position) != 0) {
        return 0;
    }
    const bool failedBefore = std::ferror(file) != 0;
    unsigned char start[2] = {};
    const bool read = std::fseek(file, 0, SEEK_SET) == 0 && std::fread(start, sizeof start, 1, file) == 1;
    std::fsetpos(file, &position);
    if (!failedBefore) {
        std::clearerr(file); // reading may have been refused
    }
    if (read && std::ranges::equal(start, gaizior::kMark)) {
        return 1;
    }
    return read && std::ranges::equal(start, gaizior::kReverseMark) ? -1 : 0;
}

char* FGets(char* buf, unsigned int n, std::FILE* file, int isUnicode) {
    if (!buf || n == 0 || !file) {
        return nullptr;
    }
    char* const line = isUnicode ? gaizior::GetUnicodeLine(buf, n, file)
                                 : std::fgets(buf, static_cast<int>(std::min<unsigned>(n, INT_MAX)), file);
    if (char* const lineFeed = line ? std::strrchr(line, '\n') : nullptr) {
        *lineFeed = '\0';
    }
    return line;
}

int FPrint(std::FILE* file, int isUnicode, unsigned int size, const char* fmt, ...) {
    std::va_list arguments;
    va_start(arguments, fmt);
    const int written = vFPrint(file, isUnicode, size, fmt, arguments);
    va_end(arguments);
    return written;
}

int vFPrint(std::FILE* file, int isUnicode, unsigned int size, const char* fmt, std::va_list arguments) {
    const std::unique_ptr<char[]> text(file && fmt ? new (std::nothrow) char[size] : nullptr);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has begun the list
    const int length = text ? std::vsnprintf(text.get(), size, fmt, arguments) : -1;
    if (length < 0 || static_cast<unsigned>(length) >= size) {
        return -1;
    }
    if (isUnicode) {
        return gaizior::PutUnits(file, text.get());
    }
    const std::size_t bytes = gaizior::FormatAgain(text.get());
    return std::fwrite(text.get(), 1, bytes, file) == bytes ? static_cast<int>(bytes) : -1;
}
