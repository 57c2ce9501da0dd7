// Storing and loading a graph of 10^6 small objects (numbers, a string, a shared backward handle
// and a forward handle that closes cycles) through the archive on a temporary compound file,
// beside the same graph through Boost.Serialization (binary, tracked pointers) and cereal
// (binary, shared_ptr/weak_ptr); and 10^7 doubles through the archive beside memcpy.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/vector.hpp>
#include <cereal/archives/binary.hpp>
#include <cereal/types/memory.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>
#include <ykstd/ykstd.hxx>

namespace {

constexpr int kObjects = 1000000;
constexpr int kDoubles = 10000000;

// The shape of the graph, the same for all three: node i points back at a node up to 64 places
// earlier (shared by many), and every 16th node forward at its successor, whose backward handle
// may lead back to it (cycles).
int Back(int i) { return i == 0 ? 0 : i - 1 - (i * 7) % std::min(i, 64); }
bool HasForward(int i) { return i % 16 == 0 && i + 1 < kObjects; }
std::string Name(int i) { return "node" + std::to_string(i % 1000); }

// ---- ykstd ----

YKSTD_HANDLE(bench_Node, ykstd_TShared);
class bench_Node : public ykstd_TShared {
 public:
  void Serialize(ykstd_Archive& ar) override {
    if (ar.IsStoring())
      ar << a << b << c << name << back << forward;
    else
      ar >> a >> b >> c >> name >> back >> forward;
  }
  std::int32_t a = 0, b = 0;
  double c = 0;
  ykstd_AsciiString name;
  Hnd_ykstd_Transient back, forward;
  YKSTD_DECLARE_TYPE(bench_Node);
};
YKSTD_IMPLEMENT_TYPE(bench_Node, ykstd_TShared)

class BenchSession : public ykstd_Session {
 public:
  const ApplicationPtr& GetApplication() override {
    static const ApplicationPtr& none = *new ApplicationPtr;
    return none;
  }
  std::int32_t GetDocumentMode() override { return 0; }
  char GetPathSeparator() override { return '/'; }
  const ykstd_AsciiString& GetFilePrefix() override { return prefix; }
  void NormalizeFullName(ykstd_AsciiString&) override {}
  void NoteNewDocument(const ykstd_AsciiString&) override {}
  Hnd_ykstd_Transient CreateObject(const ykstd_AsciiString& className, unsigned char) override {
    if (className.IsEqual("bench_Node")) return new bench_Node;
    return Hnd_ykstd_Transient();
  }
  ykenum::Unit GetUnitSetting(unsigned char, const char*, std::int32_t) override { return ykenum::UnitMM; }
  ykstd_AsciiString GetStringSetting(unsigned char, const char*, std::int32_t) override { return {}; }
  ykstd_AsciiString prefix;
};

std::vector<Hnd_bench_Node> MakeYk() {
  std::vector<Hnd_bench_Node> nodes(kObjects);
  for (int i = 0; i < kObjects; ++i) {
    nodes[i] = new bench_Node;
    nodes[i]->a = i;
    nodes[i]->b = -i;
    nodes[i]->c = i * 0.5;
    nodes[i]->name = Name(i).c_str();
    nodes[i]->back = nodes[Back(i)];
  }
  for (int i = 0; i < kObjects; ++i)
    if (HasForward(i)) nodes[i]->forward = nodes[i + 1];
  return nodes;
}

void CutYk(const std::vector<Hnd_bench_Node>& nodes) {
  for (const auto& n : nodes) n->back = n->forward = Hnd_ykstd_Transient();
}

IStoragePtr TempFile() {
  IStoragePtr file;
  if (FAILED(StgCreateDocfile(nullptr, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, &file))) std::abort();
  return file;
}

void YkStore(IStorage* file, const std::vector<Hnd_bench_Node>& nodes) {
  ykstd_Archive ar(file, "Graph", 1, 65536, nullptr);
  ar.WriteCount(static_cast<std::uint32_t>(nodes.size()));
  for (const auto& n : nodes) ar << n;
}

std::vector<Hnd_bench_Node> YkLoad(IStorage* file) {
  ykstd_Archive ar(file, "Graph", 2, 65536, nullptr);
  std::vector<Hnd_bench_Node> nodes(ar.ReadCount());
  for (auto& n : nodes) ar >> n;
  return nodes;
}

void BM_Ykstd_Store(benchmark::State& state) {
  const auto nodes = MakeYk();
  for (auto _ : state) {
    IStoragePtr file = TempFile();
    YkStore(file, nodes);
  }
  CutYk(nodes);
}

void BM_Ykstd_Load(benchmark::State& state) {
  Hnd_ykstd_Session session = new BenchSession;
  IStoragePtr file = TempFile();
  {
    const auto nodes = MakeYk();
    YkStore(file, nodes);
    CutYk(nodes);
  }
  for (auto _ : state) {
    auto nodes = YkLoad(file);
    if (nodes.size() != kObjects || nodes[77]->a != 77) state.SkipWithError("graph read wrong");
    state.PauseTiming();
    CutYk(nodes);
    nodes.clear();
    state.ResumeTiming();
  }
  session->Destroy();
}

// ---- Boost.Serialization ----

struct BoostNode {
  std::int32_t a = 0, b = 0;
  double c = 0;
  std::string name;
  BoostNode* back = nullptr;
  BoostNode* forward = nullptr;
  template <class Ar>
  void serialize(Ar& ar, unsigned) {
    ar& a& b& c& name& back& forward;
  }
};

std::vector<BoostNode*> MakeBoost() {
  std::vector<BoostNode*> nodes(kObjects);
  for (int i = 0; i < kObjects; ++i) nodes[i] = new BoostNode{i, -i, i * 0.5, Name(i), nullptr, nullptr};
  for (int i = 0; i < kObjects; ++i) {
    nodes[i]->back = nodes[Back(i)];
    if (HasForward(i)) nodes[i]->forward = nodes[i + 1];
  }
  return nodes;
}

void FreeBoost(std::vector<BoostNode*>& nodes) {
  for (BoostNode* n : nodes) delete n;
  nodes.clear();
}

void BM_Boost_Store(benchmark::State& state) {
  auto nodes = MakeBoost();
  for (auto _ : state) {
    std::stringstream out;
    boost::archive::binary_oarchive ar(out);
    ar << nodes;
    benchmark::DoNotOptimize(out.tellp());
  }
  FreeBoost(nodes);
}

void BM_Boost_Load(benchmark::State& state) {
  std::stringstream stored;
  {
    auto nodes = MakeBoost();
    boost::archive::binary_oarchive ar(stored);
    ar << nodes;
    FreeBoost(nodes);
  }
  const std::string bytes = stored.str();
  for (auto _ : state) {
    std::stringstream in(bytes);
    boost::archive::binary_iarchive ar(in);
    std::vector<BoostNode*> nodes;
    ar >> nodes;
    if (nodes.size() != kObjects || nodes[77]->a != 77) state.SkipWithError("graph read wrong");
    state.PauseTiming();
    FreeBoost(nodes);
    state.ResumeTiming();
  }
}

// ---- cereal ----

struct CerealNode {
  std::int32_t a = 0, b = 0;
  double c = 0;
  std::string name;
  std::shared_ptr<CerealNode> back;
  std::weak_ptr<CerealNode> forward;  // weak, so that the cycles do not keep the graph alive
  template <class Ar>
  void serialize(Ar& ar) {
    ar(a, b, c, name, back, forward);
  }
};

std::vector<std::shared_ptr<CerealNode>> MakeCereal() {
  std::vector<std::shared_ptr<CerealNode>> nodes(kObjects);
  for (int i = 0; i < kObjects; ++i)
    nodes[i] = std::make_shared<CerealNode>(CerealNode{i, -i, i * 0.5, Name(i), {}, {}});
  for (int i = 0; i < kObjects; ++i) {
    nodes[i]->back = nodes[Back(i)];
    if (HasForward(i)) nodes[i]->forward = nodes[i + 1];
  }
  return nodes;
}

void BM_Cereal_Store(benchmark::State& state) {
  const auto nodes = MakeCereal();
  for (auto _ : state) {
    std::stringstream out;
    {
      cereal::BinaryOutputArchive ar(out);
      ar(nodes);
    }
    benchmark::DoNotOptimize(out.tellp());
  }
}

void BM_Cereal_Load(benchmark::State& state) {
  std::stringstream stored;
  {
    const auto nodes = MakeCereal();
    cereal::BinaryOutputArchive ar(stored);
    ar(nodes);
  }
  const std::string bytes = stored.str();
  for (auto _ : state) {
    std::stringstream in(bytes);
    std::vector<std::shared_ptr<CerealNode>> nodes;
    {
      cereal::BinaryInputArchive ar(in);
      ar(nodes);
    }
    if (nodes.size() != kObjects || nodes[77]->a != 77) state.SkipWithError("graph read wrong");
    state.PauseTiming();
    nodes.clear();
    state.ResumeTiming();
  }
}

// ---- raw doubles ----

void BM_Ykstd_Doubles_Store(benchmark::State& state) {
  for (auto _ : state) {
    IStoragePtr file = TempFile();
    ykstd_Archive ar(file, "Doubles", 1, 65536, nullptr);
    double v = 0.25;
    for (int i = 0; i < kDoubles; ++i) ar << (v += 1.0);
  }
  state.SetBytesProcessed(state.iterations() * kDoubles * 8);
}

void BM_Ykstd_Doubles_Load(benchmark::State& state) {
  IStoragePtr file = TempFile();
  {
    ykstd_Archive ar(file, "Doubles", 1, 65536, nullptr);
    for (int i = 0; i < kDoubles; ++i) ar << static_cast<double>(i);
  }
  for (auto _ : state) {
    ykstd_Archive ar(file, "Doubles", 2, 65536, nullptr);
    double sum = 0, v = 0;
    for (int i = 0; i < kDoubles; ++i) {
      ar >> v;
      sum += v;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetBytesProcessed(state.iterations() * kDoubles * 8);
}

void BM_Memcpy_Doubles(benchmark::State& state) {
  std::vector<double> from(kDoubles, 1.5), to(kDoubles);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), kDoubles * sizeof(double));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * kDoubles * 8);
}

}  // namespace

BENCHMARK(BM_Ykstd_Store)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Boost_Store)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Cereal_Store)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Ykstd_Load)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Boost_Load)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Cereal_Load)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Ykstd_Doubles_Store)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Ykstd_Doubles_Load)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Memcpy_Doubles)->Unit(benchmark::kMillisecond)->Iterations(5);

BENCHMARK_MAIN();
