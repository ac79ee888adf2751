// A bag to XML text, in the notation that reading understands, so that a bag comes back as it was.
// What XML cannot hold (a name with a space, a text with a zero byte) is an error and never
// written. Tested by tests/base/bag_xml_test.cpp.
#include "text_file.h"
#include "typed_text.h"

#include <basekit2/variant_bag.h>

#include <algorithm>
#include <pugixml.hpp>

namespace basekit2 {
namespace {

error_code_t invalid(const std::string& reason) {
    return error_code_t::raise(error::IsNot.Valid.Argument, reason.c_str(), nullptr, 0);
}

// Bytes above ASCII are taken as letters.
bool startsName(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    const bool letter = (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z');
    return letter || code >= 0x80 || byte == '_' || byte == ':';
}

bool continuesName(char byte) {
    return startsName(byte) || (byte >= '0' && byte <= '9') || byte == '-' || byte == '.';
}

bool isXmlName(const std::string& name) {
    return !name.empty() && startsName(name.front()) &&
           std::all_of(name.begin(), name.end(), continuesName);
}

// Reading drops white space around plain text and does not see an empty one.
bool needsCdata(const std::string& text) {
    const std::string white = " \t\r\n";
    return text.empty() || white.find(text.front()) != std::string::npos ||
           white.find(text.back()) != std::string::npos;
}

class StringWriter : public pugi::xml_writer {
public:
    explicit StringWriter(std::string& out) : m_out(out) {}
    void write(const void* data, std::size_t size) override {
        m_out.append(static_cast<const char*>(data), size);
    }

private:
    std::string& m_out;
};

class BagWriter {
public:
    bool writeElement(pugi::xml_node& parent, const variant_bag_t& bag, const std::string& name) {
        if (!isXmlName(name)) return fail("element", name);
        pugi::xml_node element = parent.append_child(name.c_str());
        std::string text;
        bool hasText = false;
        for (auto it = bag.begin<variant_t>(); !it.at_end(); it.next()) {
            variant_t printed;
            print_variant(it.get_value(), printed, true);
            if (printed.is_null()) continue;
            const std::string value = printed.get<std::string>();
            if (value.find('\0') != std::string::npos) return fail("text of", it.get_name());
            if (it.get_name() == "#text") {
                hasText = true;
                text += value;
            } else if (!writeAttribute(element, it.get_name(), it.get_value(), value)) {
                return false;
            }
        }
        if (hasText) writeText(element, text);
        for (auto it = bag.begin<variant_bag_t>(); !it.at_end(); it.next())
            if (!writeElement(element, it.get_value(), it.get_name())) return false;
        return true;
    }

    const error_code_t& error() const { return m_error; }

private:
    bool writeAttribute(pugi::xml_node element,
                        const std::string& name,
                        const variant_t& value,
                        const std::string& text) {
        if (!isXmlName(name)) return fail("attribute", name);
        const std::string typed = lanefeed_runtime::typedNameFor(name, value, text);
        element.append_attribute(typed.c_str()).set_value(text.c_str());
        return true;
    }

    static void writeText(pugi::xml_node element, const std::string& text) {
        const auto kind = needsCdata(text) ? pugi::node_cdata : pugi::node_pcdata;
        element.append_child(kind).set_value(text.c_str());
    }

    bool fail(const std::string& kind, const std::string& name) {
        m_error = invalid(kind + " \"" + name + "\" cannot be written as XML");
        return false;
    }

    error_code_t m_error;
};

error_code_t toXml(const variant_bag_t& bag,
                   std::string& text,
                   const std::string& rootName,
                   unsigned int format) {
    pugi::xml_document document;
    BagWriter writer;
    if (!writer.writeElement(document, bag, rootName)) return writer.error();
    std::string written;
    StringWriter out(written);
    document.save(out, "  ", format, pugi::encoding_utf8);
    text.swap(written);
    return error_code_t::success;
}

}  // namespace

error_code_t save_variant_bag_to_string2(const variant_bag_t& bag,
                                         std::string& text,
                                         const std::string& rootName) {
    const unsigned int format = pugi::format_indent | pugi::format_no_declaration;
    error_code_t printed = toXml(bag, text, rootName, format);
    if (is_success(printed) && !text.empty() && text.back() == '\n') text.pop_back();
    return printed;
}

error_code_t save_variant_bag2(const variant_bag_t& bag,
                               const std::string& fileName,
                               const std::string& rootName) {
    std::string text;
    error_code_t printed = toXml(bag, text, rootName, pugi::format_indent);
    if (!is_success(printed)) return printed;
    std::string reason;
    if (lanefeed_runtime::replaceTextFile(fileName, text, reason)) return error_code_t::success;
    return invalid(fileName + ": " + reason);
}

}  // namespace basekit2
