# The outside libraries, each found once; docs/architecture.md says which room may use which.

find_package(PkgConfig REQUIRED)
pkg_check_modules(LIBPLIST REQUIRED IMPORTED_TARGET libplist-2.0)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-uc)
pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
pkg_check_modules(TINFO REQUIRED IMPORTED_TARGET tinfo)
find_package(OpenSSL REQUIRED COMPONENTS Crypto)
find_package(nlohmann_json REQUIRED)
find_package(CLI11 REQUIRED)
find_package(Qt6 REQUIRED COMPONENTS Core DBus)

if(VOSSEL_TESTS)
  find_package(GTest REQUIRED)
  include(GoogleTest)
endif()
if(VOSSEL_BENCH)
  find_package(benchmark REQUIRED)
endif()
