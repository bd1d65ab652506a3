# The raw library, as PkgConfig::LIBRAW. Its package asks every program that links it for the
# compiler's own threads library, which it needs itself only, and which a system without that
# compiler's package for it does not have.
find_package(PkgConfig REQUIRED)
pkg_check_modules(LIBRAW REQUIRED IMPORTED_TARGET GLOBAL libraw_r)
set_property(TARGET PkgConfig::LIBRAW PROPERTY INTERFACE_LINK_OPTIONS "")
get_target_property(libraries PkgConfig::LIBRAW INTERFACE_LINK_LIBRARIES)
list(REMOVE_ITEM libraries -fopenmp)
set_property(TARGET PkgConfig::LIBRAW PROPERTY INTERFACE_LINK_LIBRARIES ${libraries})
