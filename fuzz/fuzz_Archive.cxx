// Loads arbitrary bytes as an archive stream of a few stored classes with numbers, strings,
// lists of handles and text lines. Every outcome must be a value or a failure of the library.
#include <cstddef>
#include <cstdint>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "../tests/support/MemStorage.hxx"
#include "../tests/support/TestSession.hxx"

namespace {

// Every object the session made in this run, so that cycles can be cut before the next one.
std::vector<Hnd_ykstd_Transient>* made = nullptr;

YKSTD_HANDLE(fz_Node, ykstd_TShared);
YKSTD_HANDLE(fz_Leaf, ykstd_TShared);
YKSTD_HANDLE(fz_Rich, ykstd_TShared);
YKSTD_HANDLE(fz_Ref, ykstd_TShared);

// The layout of the tests' node: a byte and two handles.
class fz_Node : public ykstd_TShared {
 public:
  void Serialize(ykstd_Archive& ar) override { ar >> value >> first >> second; }
  void Cut() {
    first.Nullify();
    second.Nullify();
  }
  unsigned char value = 0;
  Hnd_ykstd_Transient first, second;
  YKSTD_DECLARE_TYPE(fz_Node);
};
YKSTD_IMPLEMENT_TYPE_NAMED(fz_Node, ykstd_TShared, "test_Node")

class fz_Leaf : public ykstd_TShared {
 public:
  void Serialize(ykstd_Archive& ar) override { ar >> value; }
  unsigned char value = 0;
  YKSTD_DECLARE_TYPE(fz_Leaf);
};
YKSTD_IMPLEMENT_TYPE_NAMED(fz_Leaf, ykstd_TShared, "X")

// Numbers, a string, a counted list of handles and a text line.
class fz_Rich : public ykstd_TShared {
 public:
  void Serialize(ykstd_Archive& ar) override {
    ar >> number >> real >> name;
    const std::uint32_t count = ar.ReadCount();
    for (std::uint32_t i = 0; i < count; ++i) {
      Hnd_ykstd_Transient h;
      ar >> h;
      children.push_back(h);
    }
    char line[40];
    ar.ReadString(line, -static_cast<std::int32_t>(sizeof line - 1));
  }
  std::int32_t number = 0;
  double real = 0;
  ykstd_AsciiString name;
  std::vector<Hnd_ykstd_Transient> children;
  YKSTD_DECLARE_TYPE(fz_Rich);
};
YKSTD_IMPLEMENT_TYPE(fz_Rich, ykstd_TShared)

// What a partial store left outside: the class hash and the index.
class fz_Ref : public ykstd_TShared {
 public:
  void Serialize(ykstd_Archive& ar) override { ar >> hash >> idx; }
  std::uint16_t hash = 0;
  std::int16_t idx = 0;
  YKSTD_DECLARE_TYPE(fz_Ref);
};
YKSTD_IMPLEMENT_TYPE(fz_Ref, ykstd_TShared)

template <class T>
ykstd_test::TestSession::Factory Maker() {
  return [] {
    Hnd_ykstd_Transient object(new T);
    made->push_back(object);
    return object;
  };
}

ykstd_test::TestSession* Session() {
  static ykstd_test::TestSession* session = [] {
    ykstd_Debug::SwitchOn(false);
    auto* s = new ykstd_test::TestSession;
    s->factories["test_Node"] = Maker<fz_Node>();
    s->factories["X"] = Maker<fz_Leaf>();
    s->factories["fz_Rich"] = Maker<fz_Rich>();
    s->factories["PTAG"] = Maker<fz_Ref>();
    return s;
  }();
  return session;
}

void Cut(std::vector<Hnd_ykstd_Transient>& objects) {
  for (Hnd_ykstd_Transient& object : objects) {
    Hnd_fz_Node node = Hnd_fz_Node::DownCast(object);
    if (!node.IsNull()) node->Cut();
    Hnd_fz_Rich rich = Hnd_fz_Rich::DownCast(object);
    if (!rich.IsNull()) rich->children.clear();
  }
  objects.clear();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Session();
  std::vector<Hnd_ykstd_Transient> objects;
  made = &objects;
  ykstd_test::MemStorage storage;
  storage.Bytes(L"s").assign(data, data + size);
  // Short reads and both buffer sizes reach the refill paths.
  storage.maxChunk = size % 3 == 0 ? 0 : 61;
  {
    ykstd_Archive ar(&storage, "s", 2, size % 2 ? 128 : 4096, nullptr);
    try {
      // A leading 0 reads handles only, as the seeds from the tests hold them.
      unsigned char plan = 0;
      ar >> plan;
      if (plan == 0) {
        for (;;) {
          Hnd_ykstd_Transient h;
          ar >> h;
        }
      }
      for (int step = 0; step < 64; ++step) {
        unsigned char op = 0;
        ar >> op;
        switch (op % 5) {
          case 0: {
            Hnd_ykstd_Transient h;
            ar >> h;
            break;
          }
          case 1: {
            ykstd_AsciiString s;
            ar >> s;
            break;
          }
          case 2: ar.ReadCount(); break;
          case 3: {
            std::vector<unsigned char> raw(op);
            ar.Read(raw.data(), static_cast<std::int32_t>(raw.size()));
            break;
          }
          default: {
            std::int32_t tag = 0;
            ykstd_AsciiString name;
            ar.ReadClass(name, tag);
            break;
          }
        }
      }
    } catch (Hnd_ykstd_fail_Failure& failure) {
      failure->Remove();
    } catch (const _com_error&) {
    }
  }
  Cut(objects);
  made = nullptr;
  return 0;
}
