#include "foundation/PropertyList.h"

#include "foundation/PlainNumbers.h"
#include "foundation/PropertyListCheck.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <utility>

#include <plist/plist.h>

namespace larkspan {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view binaryHeader = "bplist00";
constexpr long long secondsFrom1970To2001 = 978'307'200;

struct FreeNode {
    void operator()(void* node) const { plist_free(node); }
};
using OwnedNode = std::unique_ptr<void, FreeNode>;

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using OwnedMemory = std::unique_ptr<T, FreeMemory>;

// A single number or date in the binary form, which keeps what libplist's interface leaves out:
// the sign of an integer, and dates that lie more than 68 years from 2001.
struct ExactNumber {
    unsigned size = 0;  // bytes
    std::uint64_t bits = 0;
};

ExactNumber exactNumber(plist_t node) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(node, &bytes, &length);
    const OwnedMemory<char> owned(bytes);
    const std::string_view text(bytes, bytes ? length : 0);
    if (text.size() <= binaryHeader.size()) return {};
    ExactNumber number;
    number.size = 1U << (static_cast<unsigned char>(text[binaryHeader.size()]) & 0xFU);
    for (const char c : text.substr(binaryHeader.size() + 1, number.size)) {
        number.bits = (number.bits << 8) | static_cast<unsigned char>(c);
    }
    return number;
}

std::int64_t integerOf(plist_t node) {
    std::uint64_t value = 0;
    plist_get_uint_val(node, &value);
    constexpr auto largest = std::numeric_limits<std::int64_t>::max();
    const bool isAmbiguous = value > static_cast<std::uint64_t>(largest);
    if (isAmbiguous && exactNumber(node).size > sizeof(value)) return largest;
    return static_cast<std::int64_t>(value);
}

std::int64_t uidOf(plist_t node) {
    std::uint64_t value = 0;
    plist_get_uid_val(node, &value);
    return static_cast<std::int64_t>(value);
}

Date dateOf(plist_t node) {
    std::int32_t seconds = 0;
    plist_get_date_val(node, &seconds, nullptr);
    using Limits = std::numeric_limits<std::int32_t>;
    if (seconds != Limits::min() && seconds != Limits::max()) {
        return dateFromUnixTime(secondsFrom1970To2001 + seconds);
    }
    const double exact = std::bit_cast<double>(exactNumber(node).bits);
    constexpr double farAway = 1e11;  // beyond every Date, yet no overflow in whole seconds
    const double bounded = std::isnan(exact) ? 0 : std::fmin(std::fmax(exact, -farAway), farAway);
    return dateFromUnixTime(secondsFrom1970To2001 + std::llround(std::floor(bounded)));
}

std::string bytesOf(plist_t node, const char* (*get)(plist_t, std::uint64_t*)) {
    std::uint64_t length = 0;
    const char* bytes = get(node, &length);
    return bytes ? std::string(bytes, static_cast<size_t>(length)) : std::string();
}

Value valueOf(plist_t node);

Value arrayOf(plist_t node) {
    Value::Array values;
    values.reserve(plist_array_get_size(node));
    plist_array_iter made = nullptr;
    plist_array_new_iter(node, &made);
    const OwnedMemory<void> iterator(made);
    plist_t item = nullptr;
    for (plist_array_next_item(node, made, &item); item; plist_array_next_item(node, made, &item)) {
        values.push_back(valueOf(item));
    }
    return values;
}

Value dictionaryOf(plist_t node) {
    Value::Dictionary values;
    plist_dict_iter made = nullptr;
    plist_dict_new_iter(node, &made);
    const OwnedMemory<void> iterator(made);
    for (;;) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, made, &key, &item);
        const OwnedMemory<char> owned(key);
        if (!key || !item) return values;
        values.insert_or_assign(key, valueOf(item));
    }
}

// Recurses as deep as the values are nested, which has been checked.
Value valueOf(plist_t node) {
    switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            std::uint8_t value = 0;
            plist_get_bool_val(node, &value);
            return value != 0;
        }
        case PLIST_REAL: {
            double value = 0;
            plist_get_real_val(node, &value);
            return value;
        }
        case PLIST_UINT:
            return integerOf(node);
        case PLIST_UID:
            return uidOf(node);
        case PLIST_STRING:
            return bytesOf(node, plist_get_string_ptr);
        case PLIST_DATA:
            return Data{bytesOf(node, plist_get_data_ptr)};
        case PLIST_DATE:
            return dateOf(node);
        case PLIST_ARRAY:
            return arrayOf(node);
        case PLIST_DICT:
        case PLIST_KEY:
        case PLIST_NONE:
            break;
    }
    return dictionaryOf(node);
}

}  // namespace

Error propertyListError(std::string why) {
    return {propertyListErrorDomain, 1, std::move(why)};
}

Result<Value> parsePropertyList(std::string_view bytes) {
    if (bytes.starts_with(byteOrderMark)) bytes.remove_prefix(byteOrderMark.size());
    if (bytes.empty()) return propertyListError("The property list is empty.");
    if (bytes.size() > largestPropertyList) {
        return propertyListError("The property list is too large.");
    }
    const bool isBinary = bytes.starts_with(binaryHeader);
    const auto problem = isBinary ? checkBinaryPropertyList(bytes) : checkXmlPropertyList(bytes);
    if (problem) return *problem;

    const PlainNumbers plainNumbers;
    plist_t made = nullptr;
    const auto read = isBinary ? plist_from_bin : plist_from_xml;
    read(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &made);
    const OwnedNode root(made);
    if (!root) return propertyListError("The property list holds a malformed value.");
    return valueOf(root.get());
}

}  // namespace larkspan
