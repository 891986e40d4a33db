#include "backup/RenditionRules.h"

#include "foundation/XMLCheck.h"

#include <array>
#include <utility>

#include <pugixml.hpp>

namespace larkspan {
namespace {

constexpr long defaultPolicy = 5;
constexpr float megabyte = 1048576;

class StringWriter final : public pugi::xml_writer {
  public:
    // A carriage return is there only because a reference said so: as a plain character it would
    // be read as the end of a line.
    void write(const void* data, size_t size) override {
        for (const char c : std::string_view(static_cast<const char*>(data), size)) {
            if (c == '\r') {
                text += "&#13;";
            } else {
                text += c;
            }
        }
    }

    std::string text;
};

// What indenting adds grows with the square of the depth. Real documents have 26 levels.
class DepthCheck final : public pugi::xml_tree_walker {
  public:
    bool for_each(pugi::xml_node& /*node*/) override { return depth() < deepestIndented; }

  private:
    static constexpr int deepestIndented = 1000;
};

}  // namespace

RenditionSettings renditionSettings(const Preferences& frontEnd) {
    const bool isOn = !frontEnd.exists() || frontEnd.integer("generateFCPXML", 0) == 1;
    return {.policy = isOn ? frontEnd.integer("xmlLimit", defaultPolicy) : noRenditions,
            .removesDuplicates = frontEnd.integer("removeDuplicates", 1) == 1};
}

RenditionLimits renditionLimits(long policy) {
    static constexpr std::array<std::pair<float, unsigned long>, 7> limits{
        {{1, 2}, {3, 2}, {5, 1}, {10, 1}, {15, 0}, {20, 0}, {30, 0}}};
    if (policy < 1 || static_cast<size_t>(policy) > limits.size()) return {};
    const auto& [megabytes, gap] = limits.at(static_cast<size_t>(policy) - 1);
    return {.size = megabytes * megabyte, .gap = gap};
}

Result<std::string> tidiedXML(std::string_view xml) {
    if (auto error = checkXML(xml)) return std::move(*error);
    pugi::xml_document document;
    const auto parsed =
        document.load_buffer(xml.data(), xml.size(), pugi::parse_full, pugi::encoding_utf8);
    if (!parsed) return Error{xmlErrorDomain, parsed.status, parsed.description()};
    if (document.first_child().type() != pugi::node_declaration) {
        pugi::xml_node declaration = document.prepend_child(pugi::node_declaration);
        declaration.append_attribute("version") = "1.0";
        declaration.append_attribute("encoding") = "UTF-8";
    }
    StringWriter writer;
    DepthCheck check;
    const unsigned format = document.traverse(check) ? pugi::format_indent : pugi::format_raw;
    document.save(writer, "\t", format, pugi::encoding_utf8);
    return std::move(writer.text);
}

}  // namespace larkspan
