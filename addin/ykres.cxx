// The add-in's message texts.
#include <ykstd/platform/Module.hxx>

namespace {
struct Message {
  unsigned int id;
  const char* text;
};

constexpr Message kMessages[] = {
    // Unit names shown with dimension values.
    {500, "mm"},
    {501, "\""},
    {502, "deg"},
    {503, "rad"},
    {504, "mm2"},
    {505, "in2"},
    {506, "M"},
    {507, "BSP"},
    {508, "BSW"},
    {509, "BSF"},
    {510, "UNC"},
    {511, "NPT"},
    {4222, "The add-in data of this document could not be saved: writing its class versions failed."},
};
}  // namespace

YKSTD_STRING_TABLE {
  for (const Message& message : kMessages)
    if (message.id == id) return message.text;
  return nullptr;
}
