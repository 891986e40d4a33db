#include "foundation/PropertyList.h"
#include "foundation/PropertyListCheck.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace larkspan {
namespace {

constexpr size_t headerSize = 8;  // "bplist00"
constexpr size_t trailerSize = 32;

// Bytes of texts and data once shared ones have been copied to every place that refers to them.
constexpr std::uint64_t mostExpandedBytes = 4 * std::uint64_t{largestPropertyList};

constexpr const char* malformed = "The binary property list is damaged.";

// Kinds of objects: the upper half of an object's first byte.
enum Kind : unsigned {
    simple = 0x0,
    integer = 0x1,
    real = 0x2,
    date = 0x3,
    data = 0x4,
    asciiText = 0x5,
    utf16Text = 0x6,
    uid = 0x8,
    array = 0xA,
    set = 0xC,
    dictionary = 0xD,
};

class BinaryCheck {
  public:
    explicit BinaryCheck(std::string_view bytes) : bytes_(bytes) {}

    // What is wrong, as a sentence; "" when nothing is. The objects are visited as often as they
    // are referred to, so a cycle shows as a depth without end.
    std::string problem() {
        if (!readTrailer()) return malformed;
        visit(root_);
        while (problem_.empty() && !open_.empty()) {
            References& next = open_.back();
            if (next.remaining == 0) {
                open_.pop_back();
                continue;
            }
            const std::uint64_t object = number(next.at, referenceSize_);
            next.at += referenceSize_;
            --next.remaining;
            visit(object);
        }
        return problem_;
    }

  private:
    // References of a container that have not been followed yet.
    struct References {
        size_t at;
        std::uint64_t remaining;
    };

    std::uint64_t number(size_t at, size_t size) const {
        std::uint64_t value = 0;
        for (const char c : bytes_.substr(at, size)) {
            value = (value << 8) | static_cast<unsigned char>(c);
        }
        return value;
    }

    bool readTrailer() {
        if (bytes_.size() < headerSize + 1 + trailerSize) return false;
        const size_t trailer = bytes_.size() - trailerSize;
        offsetSize_ = number(trailer + 6, 1);
        referenceSize_ = number(trailer + 7, 1);
        objectCount_ = number(trailer + 8, 8);
        root_ = number(trailer + 16, 8);
        const std::uint64_t table = number(trailer + 24, 8);
        if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8) {
            return false;
        }
        if (table <= headerSize || table >= trailer) return false;
        table_ = static_cast<size_t>(table);
        return objectCount_ > 0 && objectCount_ <= (trailer - table_) / offsetSize_;
    }

    void fail(const char* why) {
        if (problem_.empty()) problem_ = why;
    }

    void visit(std::uint64_t object) {
        if (object >= objectCount_) return fail(malformed);
        if (++count_ > mostPropertyListValues) return fail("There are too many values.");
        const std::uint64_t offset =
            number(table_ + static_cast<size_t>(object) * offsetSize_, offsetSize_);
        if (offset < headerSize || offset >= table_) return fail(malformed);
        const auto at = static_cast<size_t>(offset);
        const auto marker = static_cast<unsigned char>(bytes_[at]);
        checkObject(static_cast<Kind>(marker >> 4), marker & 0xFU, at + 1);
    }

    // `low` is the lower half of the object's first byte, `at` the place behind that byte.
    void checkObject(Kind kind, unsigned low, size_t at) {
        switch (kind) {
            case simple:
                if (low != 8 && low != 9) fail("There is a value of unknown kind.");
                return;
            case integer:
                return requireFixedSize(low <= 4, std::uint64_t{1} << low, at);
            case real:
                return requireFixedSize(low == 2 || low == 3, std::uint64_t{1} << low, at);
            case date:
                return requireFixedSize(low == 3, 8, at);
            case uid:
                return requireFixedSize(low <= 7, low + 1, at);
            case data:
            case asciiText:
            case utf16Text:
            case array:
            case set:
            case dictionary:
                return checkCounted(kind, low, at);
        }
        fail("There is a value of unknown kind.");
    }

    void requireFixedSize(bool known, std::uint64_t size, size_t at) {
        if (!known || size > table_ - at) fail(malformed);
    }

    // Objects with a count of bytes, characters or members: in the first byte, or, where that says
    // 15, as an integer behind it.
    void checkCounted(Kind kind, unsigned low, size_t at) {
        std::uint64_t count = low;
        if (low == 15) {
            if (at >= table_) return fail(malformed);
            const auto marker = static_cast<unsigned char>(bytes_[at]);
            const size_t size = size_t{1} << (marker & 0xFU);
            if ((marker >> 4) != integer || size > 8 || size > table_ - at - 1) {
                return fail(malformed);
            }
            count = number(at + 1, size);
            at += 1 + size;
        }
        const bool isContainer = kind == array || kind == set || kind == dictionary;
        if (isContainer) {
            openContainer(kind, count, at);
        } else {
            checkBytes(kind, count, at);
        }
    }

    void openContainer(Kind kind, std::uint64_t count, size_t at) {
        const size_t perMember = kind == dictionary ? 2 * referenceSize_ : referenceSize_;
        if (count > (table_ - at) / perMember) return fail(malformed);
        if (std::cmp_greater_equal(open_.size(), deepestPropertyList)) {
            return fail("The values are nested too deeply.");
        }
        open_.push_back({at, kind == dictionary ? 2 * count : count});
    }

    void checkBytes(Kind kind, std::uint64_t count, size_t at) {
        const size_t unit = kind == utf16Text ? 2 : 1;
        if (count > (table_ - at) / unit) return fail(malformed);
        const std::string_view content = bytes_.substr(at, static_cast<size_t>(count) * unit);
        expandedBytes_ += content.size();
        if (expandedBytes_ > mostExpandedBytes) return fail("The values are too large.");
        if (kind != data && hasZeroCharacter(content, unit)) fail("A text holds zero bytes.");
    }

    // libplist takes a zero as the end of a text, and stops the program when it is in a key.
    static bool hasZeroCharacter(std::string_view content, size_t unit) {
        if (unit == 1) return content.find('\0') != std::string_view::npos;
        for (size_t i = 0; i + 1 < content.size(); i += 2) {
            if (content[i] == '\0' && content[i + 1] == '\0') return true;
        }
        return false;
    }

    std::string_view bytes_;
    size_t offsetSize_ = 0;
    size_t referenceSize_ = 0;
    std::uint64_t objectCount_ = 0;
    std::uint64_t root_ = 0;
    size_t table_ = 0;  // where the objects end and the table of their offsets begins
    size_t count_ = 0;
    std::uint64_t expandedBytes_ = 0;
    std::vector<References> open_;
    std::string problem_;
};

}  // namespace

std::optional<Error> checkBinaryPropertyList(std::string_view bytes) {
    std::string problem = BinaryCheck(bytes).problem();
    if (problem.empty()) return {};
    return propertyListError(std::move(problem));
}

}  // namespace larkspan
