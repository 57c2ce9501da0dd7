// The add-in's user interface module; it has no texts of its own yet.
#include <ykstd/platform/Module.hxx>

YKSTD_STRING_TABLE { return nullptr; }
