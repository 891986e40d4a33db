#include "platform/linux/RootTrail.h"

#include "foundation/Path.h"
#include "platform/linux/WatchErrors.h"

#include <cerrno>
#include <climits>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace larkspan::platform {
namespace {

constexpr int mostLinks = 40;  // as many as the system follows

// Puts the names of a path on the stack, the first on top.
void pushNames(std::vector<std::string>& names, std::string_view path) {
    while (!path.empty()) {
        const size_t slash = path.rfind('/');
        const std::string_view name = slash == path.npos ? path : path.substr(slash + 1);
        if (!name.empty() && name != ".") names.emplace_back(name);
        path = slash == path.npos ? std::string_view() : path.substr(0, slash);
    }
}

std::string startOf(std::string_view path) {
    return path.starts_with('/') ? "/" : ".";
}

std::string linkText(const std::string& link) {
    std::string target(PATH_MAX, '\0');
    const ssize_t length = readlink(link.c_str(), target.data(), target.size());
    target.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return target;
}

}  // namespace

TrailEnd followTrail(const std::string& path,
                     const std::function<void(const std::string& place, bool isLink)>& visit) {
    if (path.empty() || path.find('\0') != std::string::npos) return {EINVAL, "", ""};
    TrailEnd end{0, startOf(path), ""};
    std::vector<std::string> names;
    pushNames(names, path);
    visit(end.folder, false);
    for (int links = 0; !names.empty();) {
        end.awaited = names.back();
        names.pop_back();
        const std::string place = (Path(end.folder) / end.awaited).str();
        struct stat facts {};
        if (lstat(place.c_str(), &facts) != 0) {
            end.error = errno;
            return end;
        }
        const bool isLink = S_ISLNK(facts.st_mode);
        if (!isLink && !S_ISDIR(facts.st_mode)) {
            end.error = ENOTDIR;
            return end;
        }
        visit(place, isLink);
        if (!isLink) {
            end.folder = place;
        } else if (++links > mostLinks) {
            end.error = ELOOP;
            return end;
        } else {
            const std::string target = linkText(place);
            if (target.starts_with('/')) end.folder = "/";
            pushNames(names, target);
        }
    }
    end.awaited.clear();
    return end;
}

std::string withoutDots(const std::string& folder) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(folder, error);
    return error ? folder : real.string();
}

std::string deviceOf(const std::string& folder) {
    struct stat facts {};
    if (::stat(folder.c_str(), &facts) != 0) return "";
    return std::to_string(major(facts.st_dev)) + ':' + std::to_string(minor(facts.st_dev));
}

LinkTarget linkTarget(const std::string& path) {
    struct stat facts {};
    if (::lstat(path.c_str(), &facts) != 0) {
        return isGone(errno) ? LinkTarget::isNoLink : LinkTarget::cannotBeTold;
    }
    if (!S_ISLNK(facts.st_mode)) return LinkTarget::isNoLink;
    if (::stat(path.c_str(), &facts) != 0) {
        return isGone(errno) ? LinkTarget::missing : LinkTarget::cannotBeTold;
    }
    return S_ISDIR(facts.st_mode) ? LinkTarget::folder : LinkTarget::otherItem;
}

}  // namespace larkspan::platform
