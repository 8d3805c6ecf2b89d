# Every dependency is a Debian 12 package; scripts/bootstrap.sh installs them.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
pkg_check_modules(ARAVIS REQUIRED IMPORTED_TARGET aravis-0.8>=0.8.26)
pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0 gobject-2.0 gio-2.0)
find_package(Boost 1.74 REQUIRED COMPONENTS thread)
