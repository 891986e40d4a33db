#include "sync/CloudSettings.h"

#include "foundation/Text.h"

#include <algorithm>
#include <string_view>

namespace larkspan {
namespace {

constexpr std::string_view overTLS = "https://";
constexpr std::string_view inTheClear = "http://";

void take(std::string& address, const Preferences& preferences, std::string_view key) {
    auto text = preferences.string(key).value_or("");
    while (text.ends_with('/')) text.pop_back();
    if (!text.empty()) address = std::move(text);
}

// Without scheme, port and path; empty for what could be read in two ways.
std::string hostOf(std::string_view address) {
    for (const std::string_view scheme : {overTLS, inTheClear}) {
        if (address.starts_with(scheme)) address.remove_prefix(scheme.size());
    }
    address = address.substr(0, address.find_first_of("/?#\\"));
    if (address.find('@') != std::string_view::npos) return "";
    if (address.starts_with('[')) return std::string(address.substr(0, address.find(']') + 1));
    return lowercased(address.substr(0, address.find(':')));
}

bool isIPv4Loopback(const std::string& host) {
    const auto parts = split(host, '.');
    const auto isNumber = [](const std::string& part) {
        return !part.empty() && part.size() <= 3 &&
               part.find_first_not_of("0123456789") == std::string::npos;
    };
    return parts.size() == 4 && parts[0] == "127" && std::ranges::all_of(parts, isNumber);
}

}  // namespace

CloudSettings CloudSettings::fromPreferences(const Preferences& frontEnd) {
    CloudSettings settings;
    take(settings.apiAddress, frontEnd, "syncAPIAddress");
    take(settings.contentAddress, frontEnd, "syncContentAddress");
    take(settings.webAddress, frontEnd, "syncWebAddress");
    return settings;
}

bool isLoopbackAddress(const std::string& address) {
    const std::string host = hostOf(address);
    return host == "localhost" || host == "[::1]" || isIPv4Loopback(host);
}

bool isTrustworthyAddress(const std::string& address) {
    if (address.starts_with(overTLS)) return !hostOf(address).empty();
    return address.starts_with(inTheClear) && isLoopbackAddress(address);
}

}  // namespace larkspan
