#pragma once

#include <compare>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace larkspan {

// A path as UTF-8 text. Paths are compared as text, never resolved: "/a//b" and "/a/b" differ.
// Every operation works on the text alone and touches no file system.
//
//   Path("/Work/Cut.1.fcp").lastPathComponent()          "Cut.1.fcp"
//   Path("/Work/Cut.1.fcp").pathExtension()               "fcp"
//   Path("/Work/Cut.1.fcp").deletingPathExtension()       "/Work/Cut.1"
//   Path("/Work") / "/Film/"                              "/Work/Film"
class Path {
  public:
    Path() = default;
    explicit Path(std::string text) : text_(std::move(text)) {}
    explicit Path(std::string_view text) : text_(text) {}
    explicit Path(const char* text) : text_(text) {}

    const std::string& str() const { return text_; }
    const char* c_str() const { return text_.c_str(); }
    bool empty() const { return text_.empty(); }

    // The last component; slashes at the end are not part of it. "/" for the root.
    std::string lastPathComponent() const;
    // The extension of the last component without its dot, "" when there is none. A leading dot
    // starts no extension: ".localized" has none.
    std::string pathExtension() const;
    // Without the extension and its dot; without slashes at the end.
    Path deletingPathExtension() const;
    // The folder that holds the last component; "/" stays "/", a single name gives "".
    Path deletingLastPathComponent() const;
    // The components; an absolute path starts with "/".
    std::vector<std::string> pathComponents() const;
    // Joined with exactly one slash, whatever slashes the two sides bring; slashes at the end go.
    Path appendingPathComponent(std::string_view component) const;
    Path appendingPathExtension(std::string_view extension) const;
    // A leading "~" alone or before a slash replaced by the home folder.
    Path expandingTilde(const Path& home) const;

    bool isAbsolute() const { return text_.starts_with('/'); }
    // Plain prefix of the text, with no regard for component boundaries.
    bool hasPrefix(std::string_view prefix) const { return text_.starts_with(prefix); }
    // Whether the path is `folder` or lies below it, by components. Nothing lies below "".
    bool isWithin(const Path& folder) const;

    friend Path operator/(const Path& folder, std::string_view component) {
        return folder.appendingPathComponent(component);
    }
    friend bool operator==(const Path&, const Path&) = default;
    friend auto operator<=>(const Path&, const Path&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Path& path) {
        return out << path.text_;
    }

  private:
    std::string text_;
};

}  // namespace larkspan

template <>
struct std::hash<larkspan::Path> {
    size_t operator()(const larkspan::Path& path) const {
        return std::hash<std::string>()(path.str());
    }
};
