// The host CAD application's automation interfaces, as far as the library names them.
#pragma once

#include <ykstd/platform/Unknown.hxx>

struct Application;
using ApplicationPtr = _com_ptr_t<Application>;
