#include "foundation/property_list.h"

#include "foundation/files.h"
#include "foundation/property_list_guard.h"
#include "foundation/utf8.h"

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <locale.h>
#include <memory>

namespace vossel {

namespace {

constexpr std::size_t maxFileSize = std::size_t{16} << 20U; // 16 MiB

struct NodeDeleter {
    void operator()(void* node) const { ::plist_free(node); }
};
using Node = std::unique_ptr<void, NodeDeleter>;

struct MemoryDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

// The library reads reals by the program's locale, which may want a comma where files have a point.
class PlainLocale {
public:
    PlainLocale()
        : before_(::uselocale(plain()))
    {
    }
    ~PlainLocale() { ::uselocale(before_); }
    PlainLocale(const PlainLocale&) = delete;
    PlainLocale& operator=(const PlainLocale&) = delete;

private:
    static locale_t plain()
    {
        static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
        return locale;
    }

    locale_t before_;
};

Failure refusal(std::string_view reason)
{
    return Failure{std::string("property list: ").append(reason)};
}

Result<PropertyListShape> check(std::string_view bytes, PropertyListFormat format)
{
    if (bytes.size() > maxFileSize)
        return Failure{"over 16 MiB"};
    return format == PropertyListFormat::Binary ? checkBinaryPropertyList(bytes)
                                                : checkXmlPropertyList(bytes);
}

// What comes back from a file as it was written. The library takes texts up to a NUL; XML has no
// characters below the space, other than these three.
bool isText(std::string_view text, PropertyListFormat format)
{
    const auto keeps = [format](char c) {
        const auto code = static_cast<unsigned char>(c);
        return code >= 0x20 || c == '\t' || c == '\n' || c == '\r'
            || (format == PropertyListFormat::Binary && code != 0);
    };
    return std::all_of(text.begin(), text.end(), keeps) && isValidUtf8(text);
}

bool hasRepeatedKey(const PropertyList::Dictionary& entries)
{
    std::vector<std::string_view> keys;
    keys.reserve(entries.size());
    for (const auto& [key, item] : entries)
        keys.push_back(key);
    std::sort(keys.begin(), keys.end());
    return std::adjacent_find(keys.begin(), keys.end()) != keys.end();
}

// From the library's tree, whose nesting and size the guard has bounded. Each read function is
// given a node of its own kind and returns false when the list is refused.
class NodeReader {
public:
    explicit NodeReader(PropertyListFormat format)
        : format_(format)
    {
    }

    bool read(plist_t node, PropertyList& list);
    [[nodiscard]] std::size_t keys() const { return keys_; }

private:
    static bool readBoolean(plist_t node, PropertyList& list);
    static bool readInteger(plist_t node, PropertyList& list);
    static bool readReal(plist_t node, PropertyList& list);
    static bool readData(plist_t node, PropertyList& list);
    static bool readDate(plist_t node, PropertyList& list);
    bool readText(plist_t node, PropertyList& list) const;
    bool readArray(plist_t node, PropertyList& list);
    bool readDictionary(plist_t node, PropertyList& list);

    PropertyListFormat format_;
    std::size_t keys_ = 0;
};

bool NodeReader::read(plist_t node, PropertyList& list)
{
    switch (::plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        return readBoolean(node, list);
    case PLIST_UINT:
        return readInteger(node, list);
    case PLIST_REAL:
        return readReal(node, list);
    case PLIST_STRING:
        return readText(node, list);
    case PLIST_DATA:
        return readData(node, list);
    case PLIST_DATE:
        return readDate(node, list);
    case PLIST_ARRAY:
        return readArray(node, list);
    case PLIST_DICT:
        return readDictionary(node, list);
    default:
        return false;
    }
}

bool NodeReader::readBoolean(plist_t node, PropertyList& list)
{
    std::uint8_t flag = 0;
    ::plist_get_bool_val(node, &flag);
    list.value = flag != 0;
    return true;
}

bool NodeReader::readInteger(plist_t node, PropertyList& list)
{
    // There is no getter for signed values; the bits are the same.
    std::uint64_t bits = 0;
    ::plist_get_uint_val(node, &bits);
    list.value = static_cast<std::int64_t>(bits);
    return true;
}

bool NodeReader::readReal(plist_t node, PropertyList& list)
{
    double real = 0;
    ::plist_get_real_val(node, &real);
    list.value = real;
    return true;
}

bool NodeReader::readData(plist_t node, PropertyList& list)
{
    std::uint64_t length = 0;
    const char* bytes = ::plist_get_data_ptr(node, &length);
    list.value = PropertyList::Data{bytes ? std::string(bytes, length) : std::string()};
    return true;
}

bool NodeReader::readDate(plist_t node, PropertyList& list)
{
    // The fraction is left out: it loses its sign here.
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    ::plist_get_date_val(node, &seconds, &microseconds);
    list.value = PropertyList::Date{static_cast<double>(seconds)};
    return true;
}

bool NodeReader::readText(plist_t node, PropertyList& list) const
{
    std::uint64_t length = 0;
    const char* text = ::plist_get_string_ptr(node, &length);
    if (!text || !isText({text, length}, format_))
        return false;
    list.value = std::string(text, length);
    return true;
}

bool NodeReader::readArray(plist_t node, PropertyList& list)
{
    PropertyList::Array items;
    items.reserve(::plist_array_get_size(node));
    plist_array_iter iterator = nullptr;
    ::plist_array_new_iter(node, &iterator);
    const std::unique_ptr<void, MemoryDeleter> owner(iterator);
    for (;;) {
        plist_t child = nullptr;
        ::plist_array_next_item(node, iterator, &child);
        if (!child)
            break;
        if (!read(child, items.emplace_back()))
            return false;
    }
    list.value = std::move(items);
    return true;
}

bool NodeReader::readDictionary(plist_t node, PropertyList& list)
{
    PropertyList::Dictionary entries;
    plist_dict_iter iterator = nullptr;
    ::plist_dict_new_iter(node, &iterator);
    const std::unique_ptr<void, MemoryDeleter> owner(iterator);
    for (;;) {
        char* text = nullptr;
        plist_t child = nullptr;
        ::plist_dict_next_item(node, iterator, &text, &child);
        const std::unique_ptr<char, MemoryDeleter> key(text);
        if (!child || !key)
            break;
        if (!isText(key.get(), format_))
            return false;
        if (!read(child, entries.emplace_back(key.get(), PropertyList()).second))
            return false;
    }
    keys_ += entries.size();
    if (hasRepeatedKey(entries))
        return false;
    list.value = std::move(entries);
    return true;
}

// Into the library's tree; null where a value does not fit into the format.
class NodeMaker {
public:
    NodeMaker(PropertyListFormat format, int depth)
        : format_(format)
        , depth_(depth)
    {
    }

    Node operator()(bool flag) const { return Node(::plist_new_bool(flag ? 1 : 0)); }
    Node operator()(std::int64_t integer) const
    {
        return Node(::plist_new_uint(static_cast<std::uint64_t>(integer)));
    }
    Node operator()(double real) const { return Node(::plist_new_real(real)); }
    Node operator()(const std::string& text) const
    {
        return isText(text, format_) ? Node(::plist_new_string(text.c_str())) : nullptr;
    }
    Node operator()(const PropertyList::Data& data) const
    {
        return Node(::plist_new_data(data.bytes.data(), data.bytes.size()));
    }
    Node operator()(const PropertyList::Date& date) const
    {
        if (!isPropertyListDate(date.seconds))
            return nullptr;
        return Node(::plist_new_date(static_cast<std::int32_t>(date.seconds), 0));
    }
    Node operator()(const PropertyList::Array& items) const;
    Node operator()(const PropertyList::Dictionary& entries) const;

private:
    [[nodiscard]] Node below(const PropertyList& list) const
    {
        return std::visit(NodeMaker(format_, depth_ + 1), list.value);
    }

    PropertyListFormat format_;
    int depth_; // of the containers around the value, itself counted
};

Node NodeMaker::operator()(const PropertyList::Array& items) const
{
    if (depth_ > maxPropertyListDepth)
        return nullptr;
    Node array(::plist_new_array());
    for (const auto& item : items) {
        auto child = below(item);
        if (!child)
            return nullptr;
        ::plist_array_append_item(array.get(), child.release());
    }
    return array;
}

Node NodeMaker::operator()(const PropertyList::Dictionary& entries) const
{
    const std::uint64_t keys = entries.size();
    if (depth_ > maxPropertyListDepth || keys * keys > maxPropertyListKeyPairs
        || hasRepeatedKey(entries))
        return nullptr;
    Node dictionary(::plist_new_dict());
    for (const auto& [key, item] : entries) {
        auto child = below(item);
        if (!child || !isText(key, format_))
            return nullptr;
        ::plist_dict_set_item(dictionary.get(), key.c_str(), child.release());
    }
    return dictionary;
}

}

Result<PropertyList> parsePropertyList(std::string_view bytes)
{
    const auto format
        = bytes.starts_with("bplist") ? PropertyListFormat::Binary : PropertyListFormat::Xml;
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.remove_prefix(3);
    const auto shape = check(bytes, format);
    if (!shape)
        return refusal(shape.reason());

    const PlainLocale locale;
    plist_t root = nullptr;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    if (format == PropertyListFormat::Binary)
        ::plist_from_bin(bytes.data(), size, &root);
    else
        ::plist_from_xml(bytes.data(), size, &root);
    if (!root)
        return refusal("not readable");
    const Node owner(root);
    NodeReader reader(format);
    PropertyList list;
    if (!reader.read(root, list))
        return refusal("holds a text that is none or a repeated key");
    // Of equal keys in an XML dictionary the library keeps the last.
    if (reader.keys() != shape->keys)
        return refusal("holds a repeated key");
    return list;
}

Result<PropertyList> readPropertyList(const std::string& path)
{
    const auto bytes = readFile(path, maxFileSize);
    if (!bytes)
        return Failure{bytes.reason()};
    auto list = parsePropertyList(*bytes);
    if (!list)
        return Failure{path + ": " + list.reason()};
    return list;
}

Result<std::string> writePropertyList(const PropertyList& list, PropertyListFormat format)
{
    const auto root = std::visit(NodeMaker(format, 1), list.value);
    if (!root)
        return refusal("holds what the format does not, or is nested too deep");
    const PlainLocale locale;
    char* bytes = nullptr;
    std::uint32_t size = 0;
    if (format == PropertyListFormat::Binary)
        ::plist_to_bin(root.get(), &bytes, &size);
    else
        ::plist_to_xml(root.get(), &bytes, &size);
    const std::unique_ptr<char, MemoryDeleter> owner(bytes);
    if (!bytes)
        return refusal("not writable");
    // Values that pass one by one may be too many together.
    if (const auto shape = check({bytes, size}, format); !shape)
        return refusal(shape.reason());
    return std::string(bytes, size);
}

}
