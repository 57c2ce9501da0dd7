# Private link dependencies of the library, added to YKSTD_PRIVATE_LIBS. Consumers of the shared
# library never see them.

# Compound files are read and written through libgsf.
find_package(PkgConfig REQUIRED)
pkg_check_modules(YKSTD_GSF REQUIRED IMPORTED_TARGET libgsf-1)
list(APPEND YKSTD_PRIVATE_LIBS PkgConfig::YKSTD_GSF)
