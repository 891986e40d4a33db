#pragma once

#include "platform/Files.h"

#include <optional>
#include <string>
#include <string_view>

namespace larkspan::platform {

// The extended attribute that holds the Finder information where the file system is not its own.
inline constexpr const char* finderInfoAttribute = "user.com.apple.FinderInfo";

// The four characters that the 32 bytes begin with; "" when they are all zero or too few.
std::string typeCodeOfFinderInfo(std::string_view finderInfo);

// Finder information with these codes, of four characters each, and whatever else stood in the old.
std::string finderInfoWithCodes(std::string_view old, std::string_view type,
                                std::string_view creator);

// The Finder information in the bytes of an AppleDouble file; empty when there is none.
std::optional<std::string> finderInfoOfAppleDouble(std::string_view bytes);

// The type code of a file as Files::typeCode, given its extended attribute if it has that.
std::string typeCodeOfFile(Files& files, const Path& path,
                           const std::optional<std::string>& attribute);

}  // namespace larkspan::platform
