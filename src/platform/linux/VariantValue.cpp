#include "platform/linux/VariantValue.h"

#include "foundation/Text.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace larkspan::platform {
namespace {

// D-Bus allows 64 levels; an array or dictionary takes two, itself and the variants in it.
constexpr int deepest = 24;

// All of these give floating references, which the container that takes them takes over.
GVariant* variantAt(const Value& value, int depth);

GVariant* textVariant(std::string_view text) {
    return g_variant_new_string(textForDBus(text).c_str());
}

struct VariantMaker {
    int depth;

    GVariant* operator()(bool value) const { return g_variant_new_boolean(value ? TRUE : FALSE); }
    GVariant* operator()(std::int64_t value) const { return g_variant_new_int64(value); }
    GVariant* operator()(double value) const { return g_variant_new_double(value); }
    GVariant* operator()(const std::string& text) const { return textVariant(text); }
    GVariant* operator()(const Data& data) const {
        return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, data.bytes.data(), data.bytes.size(),
                                         1);
    }
    GVariant* operator()(Date date) const {
        constexpr std::int64_t second = 1'000'000'000;
        const std::int64_t rest = date.time_since_epoch().count() % second;
        return g_variant_new("(xu)", gint64{unixSeconds(date)},
                             static_cast<guint32>(rest < 0 ? rest + second : rest));
    }
    GVariant* operator()(const Value::Array& values) const {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("av"));
        for (const Value& value : values) {
            g_variant_builder_add(&builder, "v", variantAt(value, depth + 1));
        }
        return g_variant_builder_end(&builder);
    }
    GVariant* operator()(const Value::Dictionary& values) const {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
        for (const auto& [key, value] : values) {
            g_variant_builder_add(&builder, "{sv}", textForDBus(key).c_str(),
                                  variantAt(value, depth + 1));
        }
        return g_variant_builder_end(&builder);
    }
};

GVariant* variantAt(const Value& value, int depth) {
    const bool container = value.array() || value.dictionary();
    if (container && depth >= deepest) return textVariant(describe(value));
    return std::visit(VariantMaker{depth}, value.content());
}

Error unknownKind(GVariant* variant) {
    return {"VariantValue", 1,
            std::string("no property-list value: ") + g_variant_get_type_string(variant)};
}

Date dateFromParts(std::int64_t seconds, guint32 nanoseconds) {
    constexpr std::int64_t limit = std::numeric_limits<std::int64_t>::max() / 1'000'000'000 - 1;
    if (seconds > limit) return Date::max();
    if (seconds < -limit) return Date::min();
    return dateFromUnixTime(seconds, std::min<guint32>(nanoseconds, 999'999'999));
}

Value dataFromBytes(GVariant* variant) {
    gsize count = 0;
    const void* bytes = g_variant_get_fixed_array(variant, &count, 1);
    return Data{count == 0 ? std::string() : std::string(static_cast<const char*>(bytes), count)};
}

Result<Value> dictionaryFromVariant(GVariant* variant) {
    Value::Dictionary values;
    for (gsize i = 0; i < g_variant_n_children(variant); ++i) {
        const VariantHandle entry(g_variant_get_child_value(variant, i));
        const VariantHandle key(g_variant_get_child_value(entry.get(), 0));
        const VariantHandle value(g_variant_get_child_value(entry.get(), 1));
        if (!g_variant_is_of_type(key.get(), G_VARIANT_TYPE_STRING)) return unknownKind(variant);
        Result<Value> converted = valueFromVariant(value.get());
        if (!converted) return converted;
        values.insert_or_assign(g_variant_get_string(key.get(), nullptr),
                                std::move(converted).value());
    }
    return Value(std::move(values));
}

Result<Value> arrayFromVariant(GVariant* variant) {
    Value::Array values;
    for (gsize i = 0; i < g_variant_n_children(variant); ++i) {
        const VariantHandle child(g_variant_get_child_value(variant, i));
        Result<Value> converted = valueFromVariant(child.get());
        if (!converted) return converted;
        values.push_back(std::move(converted).value());
    }
    return Value(std::move(values));
}

Result<Value> containerFromVariant(GVariant* variant) {
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE_BYTESTRING)) return dataFromBytes(variant);
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE("(xu)"))) {
        gint64 seconds = 0;
        guint32 nanoseconds = 0;
        g_variant_get(variant, "(xu)", &seconds, &nanoseconds);
        return Value(dateFromParts(seconds, nanoseconds));
    }
    if (g_variant_is_of_type(variant, G_VARIANT_TYPE_DICTIONARY)) {
        return dictionaryFromVariant(variant);
    }
    return arrayFromVariant(variant);
}

Value unsignedValue(guint64 number) {
    return std::int64_t(std::min<guint64>(number, std::numeric_limits<std::int64_t>::max()));
}

}  // namespace

VariantHandle variantFromValue(const Value& value) {
    return VariantHandle(g_variant_ref_sink(variantAt(value, 0)));
}

// The depth is bounded: a variant never nests deeper than GLib allows.
Result<Value> valueFromVariant(GVariant* variant) {
    switch (g_variant_classify(variant)) {
        case G_VARIANT_CLASS_BOOLEAN:
            return Value(g_variant_get_boolean(variant) != FALSE);
        case G_VARIANT_CLASS_BYTE:
            return Value(int{g_variant_get_byte(variant)});
        case G_VARIANT_CLASS_INT16:
            return Value(int{g_variant_get_int16(variant)});
        case G_VARIANT_CLASS_UINT16:
            return Value(int{g_variant_get_uint16(variant)});
        case G_VARIANT_CLASS_INT32:
            return Value(int{g_variant_get_int32(variant)});
        case G_VARIANT_CLASS_UINT32:
            return unsignedValue(g_variant_get_uint32(variant));
        case G_VARIANT_CLASS_INT64:
            return Value(std::int64_t{g_variant_get_int64(variant)});
        case G_VARIANT_CLASS_UINT64:
            return unsignedValue(g_variant_get_uint64(variant));
        case G_VARIANT_CLASS_DOUBLE:
            return Value(g_variant_get_double(variant));
        case G_VARIANT_CLASS_STRING:
        case G_VARIANT_CLASS_OBJECT_PATH:
        case G_VARIANT_CLASS_SIGNATURE:
            return Value(g_variant_get_string(variant, nullptr));
        case G_VARIANT_CLASS_VARIANT: {
            const VariantHandle inner(g_variant_get_variant(variant));
            return valueFromVariant(inner.get());
        }
        case G_VARIANT_CLASS_ARRAY:
        case G_VARIANT_CLASS_TUPLE:
            return containerFromVariant(variant);
        default:
            return unknownKind(variant);
    }
}

std::string textForDBus(std::string_view text) {
    return replacingAll(sanitizedUtf8(text), std::string_view("\0", 1), "\uFFFD");
}

}  // namespace larkspan::platform
