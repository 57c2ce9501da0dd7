// A full scan of a sequence by position against std::list iteration, and random jumps, which cost
// at most about half the length each.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <list>
#include <random>
#include <vector>

#include <ykstd/ykstd_Seq.hxx>

namespace {

void FillSequence(ykstd_IntSeq& seq, std::int32_t n) {
  for (std::int32_t k = 1; k <= n; ++k) seq.Append(k);
}

void SeqRisingScan(benchmark::State& state) {
  ykstd_IntSeq seq;
  const auto n = static_cast<std::int32_t>(state.range(0));
  FillSequence(seq, n);
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (std::int32_t i = 1; i <= n; ++i) sum += seq.Value(i);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * n);
}

void SeqFallingScan(benchmark::State& state) {
  ykstd_IntSeq seq;
  const auto n = static_cast<std::int32_t>(state.range(0));
  FillSequence(seq, n);
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (std::int32_t i = n; i >= 1; --i) sum += seq.Value(i);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * n);
}

void StdListScan(benchmark::State& state) {
  std::list<std::int32_t> list;
  const auto n = static_cast<std::int32_t>(state.range(0));
  for (std::int32_t k = 1; k <= n; ++k) list.push_back(k);
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (std::int32_t v : list) sum += v;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * n);
}

void SeqRandomJumps(benchmark::State& state) {
  ykstd_IntSeq seq;
  const auto n = static_cast<std::int32_t>(state.range(0));
  FillSequence(seq, n);
  std::mt19937 random(7);
  std::vector<std::int32_t> positions(1024);
  for (auto& p : positions) p = std::uniform_int_distribution<std::int32_t>(1, n)(random);
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (std::int32_t p : positions) sum += seq.Value(p);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(positions.size()));
}

}  // namespace

BENCHMARK(SeqRisingScan)->Arg(1000)->Arg(100000);
BENCHMARK(SeqFallingScan)->Arg(1000)->Arg(100000);
BENCHMARK(StdListScan)->Arg(1000)->Arg(100000);
BENCHMARK(SeqRandomJumps)->Arg(1000)->Arg(100000);

BENCHMARK_MAIN();
