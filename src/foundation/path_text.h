#pragma once

#include <string>
#include <string_view>
#include <vector>

// Paths as text, by the rules of the desktop platform that the product's file formats come from. A
// path is a byte string; nothing here looks at the file system. Views point into the argument.

namespace vossel {

// The part after the last "/", trailing slashes dropped: "/a/b/" gives "b", "/" gives "/", "" "".
[[nodiscard]] std::string_view lastPathComponent(std::string_view path);

// What follows the last "." of the last component; empty when there is none, when the only "." is
// the component's first character, or when nothing follows it.
[[nodiscard]] std::string_view pathExtension(std::string_view path);

// "/a/b/" gives "/", "a", "b", "/"; "a//b" gives "a", "b"; "/" gives "/"; "" gives nothing. A
// leading slash is a component of its own, and so is a trailing one; slashes in a row count as one.
[[nodiscard]] std::vector<std::string_view> pathComponents(std::string_view path);

// The path without its last component: "/a/b" and "/a/b/" give "/a", "/a" gives "/", "/" gives "/",
// "a" gives "".
[[nodiscard]] std::string_view parentPath(std::string_view path);

// Whether the path lies in a location that belongs to the operating system: "/System/", "/usr/"
// without "/usr/local/", "/bin/", "/sbin/".
[[nodiscard]] bool isSIP(std::string_view path);

}
