// Mappers from the ids of an attribute to configured colours and styles.
// A mapper looks each id up once: values by a retriever of the store, the style by the list of the
// attribute. Styles are made into objects when they are first asked for, so that equal values share
// one. Tested by tests/queries/value_styles_test.cpp.
#include "value_mappers.h"

#include <dataface_1/style.h>
#include <storelink1/utils.h>

#include <memory>
#include <utility>

namespace lanefeed_runtime {
namespace {

using basekit2::error_code_t;
using basekit2::sptr_t;
using basekit2::variant_t;

class FillStyle : public dataface_1::IStyle {
public:
    explicit FillStyle(const dataface_1::fill_style_t& fill) : m_fills{fill} {}

    // It lives in the definitions; there is nothing to keep.
    error_code_t save(basekit2::variant_bag_t& /*bag*/) override { return error_code_t::success; }
    error_code_t load(const basekit2::variant_bag_t& /*bag*/) override {
        return error_code_t::success;
    }
    void getFillStyles(basekit2::generic_iterator_t<dataface_1::fill_style_t>& out) override {
        out = basekit2::make_iterator(m_fills);
    }

private:
    const std::vector<dataface_1::fill_style_t> m_fills;
};

variant_t packed(const dataface_1::color_t& color) {
    return basekit2::u32_t{color.red} | basekit2::u32_t{color.green} << 8U |
           basekit2::u32_t{color.blue} << 16U | basekit2::u32_t{color.alpha} << 24U;
}

class Mapper : public dataface_1::IManipulatorMapper {
public:
    // Null styles or retriever: maps nothing.
    Mapper(std::shared_ptr<const ValueStyles> owner,
           const ValueStyleList* styles,
           sptr_t<storelink1::IAttributeDataRetriever> values)
        : m_owner(std::move(owner)), m_styles(styles), m_values(std::move(values)) {}

    error_code_t map(const variant_t& id, variant_t& out, int mode) override {
        if (mode != modeColor && mode != modeStyle)
            return error_code_t::raise(basekit2::error::IsNot.Valid.Argument, "mode", __FILE__,
                                       __LINE__);
        const ValueStyle* style = styleOf(storelink1::utils::variantToIndex(id));
        if (style == nullptr) return error_code_t::noResult;
        out = mode == modeColor ? packed(style->fill.color) : objectOf(*style);
        return error_code_t::success;
    }

private:
    const ValueStyle* styleOf(int id) {
        if (id < 0 || m_styles == nullptr || m_values.is_null()) return nullptr;
        const auto known = m_byId.find(id);
        if (known != m_byId.end()) return known->second;
        variant_t value;
        const bool hasValue = m_values->getValue(id, value) && !value.is_null();
        const ValueStyle* style =
            hasValue ? findStyle(*m_styles, storelink1::utils::variantToString(value)) : nullptr;
        m_byId.emplace(id, style);
        return style;
    }

    variant_t objectOf(const ValueStyle& style) {
        sptr_t<dataface_1::IStyle>& object = m_objects[&style];
        if (object.is_null()) object = basekit2::make_object<FillStyle>(style.fill);
        return {basekit2::type_id_t<dataface_1::IStyle>::id(), object};
    }

    const std::shared_ptr<const ValueStyles> m_owner;
    const ValueStyleList* const m_styles;
    const sptr_t<storelink1::IAttributeDataRetriever> m_values;
    std::map<int, const ValueStyle*> m_byId;
    std::map<const ValueStyle*, sptr_t<dataface_1::IStyle>> m_objects;
};

class MapperFactory : public dataface_1::IManipulatorMapperFactory {
public:
    MapperFactory(ValueStyles styles, sptr_t<storelink1::IDatabase> database)
        : m_styles(std::make_shared<const ValueStyles>(std::move(styles))),
          m_database(std::move(database)) {}

    error_code_t createMapper(const sptr_t<dataface_1::IVectorQuery>& queries,
                              sptr_t<dataface_1::IManipulatorMapper>& out) override {
        const auto info = queries.is_null()
                              ? sptr_t<dataface_1::IInfoQuery>()
                              : dataface_1::IInfoQuery::cast(queries->getDefaultQuery());
        if (info.is_null()) return error_code_t::noResult;
        const std::string attribute = attributeOf(*info);
        const auto styles = m_styles->find(attribute);
        out = styles == m_styles->end()
                  ? basekit2::make_object<Mapper>(m_styles, nullptr, nullptr)
                  : basekit2::make_object<Mapper>(
                        m_styles, &styles->second,
                        m_database->createAttributeRetriever(attribute, true));
        return error_code_t::success;
    }

private:
    const std::shared_ptr<const ValueStyles> m_styles;
    const sptr_t<storelink1::IDatabase> m_database;
};

}  // namespace

sptr_t<dataface_1::IManipulatorMapperFactory> makeMapperFactory(
    ValueStyles styles, sptr_t<storelink1::IDatabase> database) {
    return basekit2::make_object<MapperFactory>(std::move(styles), std::move(database));
}

}  // namespace lanefeed_runtime
