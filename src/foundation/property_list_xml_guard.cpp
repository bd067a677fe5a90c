#include "foundation/property_list.h"
#include "foundation/property_list_guard.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

namespace vossel {

namespace {

constexpr std::string_view space = " \t\r\n";

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(space);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}

bool isInteger(std::string_view text)
{
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+'))
        text.remove_prefix(1);
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (hexadecimal)
        text.remove_prefix(2);
    else if (text.size() > 1 && text.front() == '0')
        return false; // the library would read it as octal
    std::uint64_t magnitude = 0;
    const auto* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, magnitude, hexadecimal ? 16 : 10);
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return parsed.ec == std::errc() && parsed.ptr == end && magnitude <= largest + negative;
}

bool isReal(std::string_view text)
{
    if (text.starts_with("+-"))
        return false;
    if (text.starts_with('+'))
        text.remove_prefix(1);
    double value = 0;
    const auto* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value);
    return parsed.ec == std::errc() && parsed.ptr == end;
}

// "2001-01-01T00:00:00Z", a day that there was.
bool isDate(std::string_view text)
{
    static constexpr std::string_view shape = "0000-00-00T00:00:00Z";
    if (text.size() != shape.size())
        return false;
    for (std::size_t i = 0; i < shape.size(); ++i)
        if (shape[i] == '0' ? text[i] < '0' || text[i] > '9' : text[i] != shape[i])
            return false;
    const auto number = [text](std::size_t at, std::size_t length) {
        unsigned value = 0;
        std::from_chars(text.data() + at, text.data() + at + length, value);
        return value;
    };
    using namespace std::chrono;
    const year_month_day date(
        year(static_cast<int>(number(0, 4))), month(number(5, 2)), day(number(8, 2)));
    if (!date.ok() || number(11, 2) > 23 || number(14, 2) > 59 || number(17, 2) > 59)
        return false;
    const auto reference = sys_days(year(2001) / January / 1);
    const seconds since = sys_days(date) - reference + hours(number(11, 2)) + minutes(number(14, 2))
        + seconds(number(17, 2));
    return isPropertyListDate(static_cast<double>(since.count()));
}

bool isBase64(std::string_view text)
{
    std::size_t digits = 0;
    std::size_t padding = 0;
    for (const char c : text) {
        if (space.find(c) != std::string_view::npos)
            continue;
        const bool digit = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')
            || (c >= '0' && c <= '9') || c == '+' || c == '/';
        if (c == '=')
            ++padding;
        else if (!digit || padding > 0)
            return false;
        else
            ++digits;
    }
    return padding <= 2 && (digits + padding) % 4 == 0;
}

enum class Element { List, Array, Dictionary, Key, String, Integer, Real, Date, Data, Flag };

std::optional<Element> elementNamed(std::string_view name)
{
    static constexpr std::pair<std::string_view, Element> names[] = {
        {"plist", Element::List},
        {"array", Element::Array},
        {"dict", Element::Dictionary},
        {"key", Element::Key},
        {"string", Element::String},
        {"integer", Element::Integer},
        {"real", Element::Real},
        {"date", Element::Date},
        {"data", Element::Data},
        {"true", Element::Flag},
        {"false", Element::Flag},
    };
    for (const auto& [known, element] : names)
        if (known == name)
            return element;
    return std::nullopt;
}

// One pass over the tags. Every step returns the reason why the list is refused, or an empty view.
class XmlGuard {
public:
    explicit XmlGuard(std::string_view bytes)
        : rest_(bytes)
    {
    }

    std::string_view check();
    [[nodiscard]] PropertyListShape shape() const { return shape_; }

private:
    struct Open {
        std::string_view name;
        Element element;
        std::size_t children = 0;
        const char* content = nullptr; // where the content starts
    };

    [[nodiscard]] bool inText() const
    {
        return !open_.empty()
            && (open_.back().element == Element::Key || open_.back().element == Element::String);
    }
    [[nodiscard]] bool inContainer() const
    {
        return open_.empty() || open_.back().element <= Element::Dictionary;
    }
    std::string_view take(std::string_view start, std::string_view end, bool allowed);
    std::string_view declaration();
    std::string_view opening();
    std::string_view child(Element element);
    std::string_view closing();
    std::string_view close(const Open& closed, std::string_view content);

    std::string_view rest_;
    std::vector<Open> open_;
    PropertyListShape shape_;
    bool rootSeen_ = false;
    std::size_t values_ = 0;
    std::uint64_t keyPairs_ = 0;
    double escapeWork_ = 0;
};

std::string_view XmlGuard::check()
{
    // The library would end a key there.
    if (rest_.find('\0') != std::string_view::npos)
        return "a NUL";
    while (!rest_.empty()) {
        const auto tag = std::min(rest_.find('<'), rest_.size());
        if (inContainer() && !trimmed(rest_.substr(0, tag)).empty())
            return "text outside of a value";
        rest_.remove_prefix(tag);
        std::string_view refused;
        if (rest_.empty())
            break;
        if (rest_.starts_with("<!--"))
            refused = take("<!--", "-->", inContainer() || inText());
        else if (rest_.starts_with("<![CDATA["))
            refused = take("<![CDATA[", "]]>", inText());
        else if (rest_.starts_with("<?"))
            refused = take("<?", "?>", inContainer());
        else if (rest_.starts_with("<!"))
            refused = declaration();
        else if (rest_.starts_with("</"))
            refused = closing();
        else
            refused = opening();
        if (!refused.empty())
            return refused;
    }
    return rootSeen_ && open_.empty() ? "" : "cut short";
}

std::string_view XmlGuard::take(std::string_view start, std::string_view end, bool allowed)
{
    const auto at = rest_.find(end, start.size());
    if (!allowed || at == std::string_view::npos)
        return "markup in the wrong place or without its end";
    rest_.remove_prefix(at + end.size());
    return {};
}

std::string_view XmlGuard::declaration()
{
    const auto end = rest_.find('>');
    const auto text = rest_.substr(0, end);
    // An internal subset could define entities.
    if (rootSeen_ || end == std::string_view::npos || !text.starts_with("<!DOCTYPE")
        || text.find('[') != std::string_view::npos)
        return "a declaration that property lists do not have";
    rest_.remove_prefix(end + 1);
    return {};
}

std::string_view XmlGuard::opening()
{
    const auto end = rest_.find('>');
    if (end == std::string_view::npos)
        return "a tag without its end";
    auto tag = rest_.substr(1, end - 1);
    rest_.remove_prefix(end + 1);
    const bool empty = tag.ends_with('/');
    if (empty)
        tag.remove_suffix(1);
    const auto name = tag.substr(0, tag.find_first_of(space));
    const auto element = elementNamed(name);
    if (!element)
        return "an unknown element";
    if (*element != Element::List && !trimmed(tag.substr(name.size())).empty())
        return "an attribute";
    if (const auto refused = child(*element); !refused.empty())
        return refused;
    const Open opened = {name, *element, 0, rest_.data()};
    if (empty)
        return close(opened, {});
    if (opened.element <= Element::Dictionary && open_.size() > std::size_t{maxPropertyListDepth})
        return "nested too deep";
    open_.push_back(opened);
    return {};
}

// Whether an element may stand here; counts it.
std::string_view XmlGuard::child(Element element)
{
    if (open_.empty() != (element == Element::List) || (open_.empty() && rootSeen_))
        return "an element outside of the list";
    rootSeen_ = true;
    if (open_.empty())
        return {};
    auto& parent = open_.back();
    if (!inContainer() || (parent.element == Element::List && parent.children == 1))
        return "an element where none may stand";
    const bool keyDue = parent.element == Element::Dictionary && parent.children % 2 == 0;
    if (keyDue != (element == Element::Key))
        return "a key without a value or a value without a key";
    ++parent.children;
    if (keyDue)
        ++shape_.keys;
    return ++values_ > maxPropertyListValues ? "too many values" : "";
}

std::string_view XmlGuard::closing()
{
    const auto end = rest_.find('>');
    if (end == std::string_view::npos || open_.empty())
        return "a tag without its end or start";
    const auto name = trimmed(rest_.substr(2, end - 2));
    const auto closed = open_.back();
    if (name != closed.name)
        return "tags that do not match";
    const std::string_view content(
        closed.content, static_cast<std::size_t>(rest_.data() - closed.content));
    rest_.remove_prefix(end + 1);
    open_.pop_back();
    return close(closed, content);
}

std::string_view XmlGuard::close(const Open& closed, std::string_view content)
{
    // The library moves the rest of a text once for each escape in it: half a second at this limit.
    static constexpr double maxEscapeWork = 5e10;

    switch (closed.element) {
    case Element::List:
        return closed.children == 1 ? "" : "no value";
    case Element::Dictionary:
        keyPairs_ += (closed.children / 2) * (closed.children / 2);
        if (keyPairs_ > maxPropertyListKeyPairs)
            return "too many keys";
        return closed.children % 2 == 0 ? "" : "a key without a value";
    case Element::Array:
        return {};
    case Element::Key:
    case Element::String:
        escapeWork_ += static_cast<double>(std::count(content.begin(), content.end(), '&'))
            * static_cast<double>(content.size());
        return escapeWork_ <= maxEscapeWork ? "" : "too many escapes in one text";
    case Element::Integer:
        return isInteger(trimmed(content)) ? "" : "an integer that is none or has over 64 bits";
    case Element::Real:
        return isReal(trimmed(content)) ? "" : "a real that is none";
    case Element::Date:
        return isDate(trimmed(content)) ? "" : "a date that is none or far away";
    case Element::Data:
        return isBase64(content) ? "" : "data that is not base64";
    case Element::Flag:
        return trimmed(content).empty() ? "" : "a truth value with content";
    }
    return "an unknown element";
}

}

Result<PropertyListShape> checkXmlPropertyList(std::string_view bytes)
{
    XmlGuard guard(bytes);
    if (const auto refused = guard.check(); !refused.empty())
        return Failure{std::string(refused)};
    return guard.shape();
}

}
