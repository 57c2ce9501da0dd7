// Every process-wide object of the library, in the order in which it comes up at load time.
// C++ destroys them in the reverse order at unload, which is the order of release we want, so
// keep them all in this one file and add new ones at their place in the sequence.

#include <ykstd/platform/Module.hxx>
#include <ykstd/ykstd_Debug.hxx>
#include <ykstd/ykstd_Expression.hxx>
#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_Map.hxx>
#include <ykstd/ykstd_Schema.hxx>
#include <ykstd/ykstd_Session.hxx>

#include "ykstd_ExpressionInput.hxx"

namespace ykstd_detail {
void LoadAddinModule(const char* format, HINSTANCE& module);
}

// Constant-initialised, so it is set before anything runs: the top rung of the hash maps' bucket
// ladder, which tests may lower.
std::int32_t ykstd_BasicMap::mLadderTop = 100019;

// The resource module, loaded by the sessions; constant-initialised, so it is null before anything
// here runs.
HINSTANCE theCatResDllInst = nullptr;

// 1. The add-in's ui module: looked up in the add-in's folder now, freed last at unload.
HINSTANCE theResDLLInst = nullptr;
namespace {
struct UiModule {
  UiModule() {
    theResDLLInst = nullptr;
#if defined(_WIN32)
    ykstd_detail::LoadAddinModule("%sykui.dll", theResDLLInst);
#else
    ykstd_detail::LoadAddinModule("%sykui.so", theResDLLInst);
#endif
  }
  ~UiModule() {
    if (theResDLLInst) FreeLibrary(theResDLLInst);
    theResDLLInst = nullptr;
  }
} uiModule;
}  // namespace

// 2. The log streams, unopened until the first trace opens the log.
bool ykstd_Debug::mIsOn = true;
std::fstream ykstd_Debug::mLogFile;
std::fstream ykstd_Debug::mNulFile;

// 3. ykstd_Debug::mStats: the statistics table of the debug log.

// 4. ykstd_Debug::mCallStack: the call trace of the debug log.

// 5. ykstd_Debug::mPrfName: the profile file's name.

// 6. The error handler.

// 7. The expression evaluator and its stack.
namespace {
ykstd_detail::ExprStatics expressionStatics;
ykstd_Expression expressionInstance;
}  // namespace

namespace ykstd_detail {
ExprStatics& ExpressionStatics() { return expressionStatics; }
ykstd_Expression& ExpressionInstance() { return expressionInstance; }
}  // namespace ykstd_detail

// 8. The failure thrown when no memory is left for a new one: made now, while memory can be had,
//    and never released before the handles below.
namespace {
Hnd_ykstd_fail_NullObject emergencyFailure(
    new ykstd_fail_NullObject(ykstd_AsciiString("EXCEPTION ykstd_fail_NullObject : NULL_HANDLE")));

// The handles of the last failure, schema, session and version mapper: null until used, released
// at unload in the reverse order (mapper first).
Hnd_ykstd_fail_Failure lastFailure;
Hnd_ykstd_Schema currentSchema;
Hnd_ykstd_Session currentSession;
Hnd_ykstd_VersionMapper currentMapper;
}  // namespace

namespace ykstd_detail {
Hnd_ykstd_fail_Failure& LastFailureHandle() { return lastFailure; }
const Hnd_ykstd_fail_NullObject& EmergencyFailure() { return emergencyFailure; }
Hnd_ykstd_Schema& CurrentSchemaHandle() { return currentSchema; }
Hnd_ykstd_Session& CurrentSessionHandle() { return currentSession; }
Hnd_ykstd_VersionMapper& CurrentMapperHandle() { return currentMapper; }
}  // namespace ykstd_detail
