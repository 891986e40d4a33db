#include "foundation/Path.h"

#include "foundation/Text.h"

namespace larkspan {
namespace {

std::string_view withoutTrailingSlashes(std::string_view text) {
    while (text.size() > 1 && text.back() == '/') text.remove_suffix(1);
    return text;
}

// Where the extension's dot stands in the last component, npos when there is no extension.
size_t extensionDot(std::string_view text) {
    const size_t slash = text.rfind('/');
    const size_t nameStart = slash == std::string_view::npos ? 0 : slash + 1;
    const size_t dot = text.rfind('.');
    const bool inName = dot != std::string_view::npos && dot > nameStart;
    return inName && dot + 1 < text.size() ? dot : std::string_view::npos;
}

}  // namespace

std::string Path::lastPathComponent() const {
    const std::string_view text = withoutTrailingSlashes(text_);
    if (text == "/") return "/";
    return std::string(text.substr(text.rfind('/') + 1));
}

std::string Path::pathExtension() const {
    const std::string_view text = withoutTrailingSlashes(text_);
    const size_t dot = extensionDot(text);
    return dot == std::string_view::npos ? std::string() : std::string(text.substr(dot + 1));
}

Path Path::deletingPathExtension() const {
    const std::string_view text = withoutTrailingSlashes(text_);
    return Path(text.substr(0, extensionDot(text)));
}

Path Path::deletingLastPathComponent() const {
    const std::string_view text = withoutTrailingSlashes(text_);
    const size_t slash = text.rfind('/');
    if (slash == std::string_view::npos) return {};
    if (slash == 0) return Path("/");
    return Path(withoutTrailingSlashes(text.substr(0, slash)));
}

std::vector<std::string> Path::pathComponents() const {
    std::vector<std::string> components;
    if (isAbsolute()) components.emplace_back("/");
    for (std::string& piece : split(text_, '/')) {
        if (!piece.empty()) components.push_back(std::move(piece));
    }
    return components;
}

Path Path::appendingPathComponent(std::string_view component) const {
    std::string_view left = withoutTrailingSlashes(text_);
    while (component.starts_with('/')) component.remove_prefix(1);
    while (component.ends_with('/')) component.remove_suffix(1);
    if (component.empty()) return Path(left);
    if (left.empty()) return Path(component);
    std::string out(left);
    if (out.back() != '/') out.push_back('/');
    out += component;
    return Path(std::move(out));
}

Path Path::appendingPathExtension(std::string_view extension) const {
    return Path(std::string(withoutTrailingSlashes(text_)).append(".").append(extension));
}

Path Path::expandingTilde(const Path& home) const {
    if (text_ == "~") return home;
    if (text_.starts_with("~/")) return home / text_.substr(2);
    return *this;
}

bool Path::isWithin(const Path& folder) const {
    const std::string_view base = withoutTrailingSlashes(folder.text_);
    if (base.empty()) return text_.empty();
    if (!text_.starts_with(base)) return false;
    return text_.size() == base.size() || base == "/" || text_[base.size()] == '/';
}

}  // namespace larkspan
