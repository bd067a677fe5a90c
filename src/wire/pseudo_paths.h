#pragma once

#include <string_view>

// What the driver asks about beside files, named like paths. Each pseudo path begins with ":" and
// the name of its kind, its root; no file is called so.

namespace vossel {

inline constexpr std::string_view kernelModulePaths = ":KMOD/";
inline constexpr std::string_view firmwareVariablePaths = ":NVRAM/";
inline constexpr std::string_view kernelServicePaths = ":IOKIT/";
inline constexpr std::string_view attachedProcessPaths = ":ATTACH/";

// The beginning of real paths, "/dev/bpf0" and so on. Their numbers mean nothing to a person, so
// one of them stands for all.
inline constexpr std::string_view packetCaptureDevices = "/dev/bpf";

[[nodiscard]] constexpr bool isPseudoPath(std::string_view path)
{
    return path.starts_with(':');
}

[[nodiscard]] constexpr bool isPacketCaptureDevice(std::string_view path)
{
    return path.starts_with(packetCaptureDevices);
}

}
