// Insertion into and lookup in the integer data map beside the standard unordered map, at sizes
// below and well above the top of the bucket ladder.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <unordered_map>
#include <vector>

#include <ykstd/ykstd_Map.hxx>

namespace {

// The same keys for both maps: non-negative 31-bit numbers from a fixed seed.
const std::vector<std::int32_t>& Keys(std::size_t count) {
  static std::vector<std::int32_t> keys;
  if (keys.size() < count) {
    std::mt19937 random(20261123);
    keys.resize(count);
    for (auto& key : keys) key = static_cast<std::int32_t>(random() >> 1);
  }
  return keys;
}

void BM_IntIntDataMap_Insert(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const auto& keys = Keys(count);
  for (auto _ : state) {
    ykstd_IntIntDataMap map;
    for (std::size_t i = 0; i < count; ++i) map.Bind(keys[i], static_cast<std::int32_t>(i));
    benchmark::DoNotOptimize(map.Extent());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * count));
}

void BM_UnorderedMap_Insert(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const auto& keys = Keys(count);
  for (auto _ : state) {
    std::unordered_map<std::int32_t, std::int32_t> map;
    for (std::size_t i = 0; i < count; ++i) map[keys[i]] = static_cast<std::int32_t>(i);
    benchmark::DoNotOptimize(map.size());
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * count));
}

void BM_IntIntDataMap_Find(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const auto& keys = Keys(count);
  ykstd_IntIntDataMap map;
  for (std::size_t i = 0; i < count; ++i) map.Bind(keys[i], static_cast<std::int32_t>(i));
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) sum += map.Find(keys[i]);
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * count));
}

void BM_UnorderedMap_Find(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const auto& keys = Keys(count);
  std::unordered_map<std::int32_t, std::int32_t> map;
  for (std::size_t i = 0; i < count; ++i) map[keys[i]] = static_cast<std::int32_t>(i);
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (std::size_t i = 0; i < count; ++i) sum += map.find(keys[i])->second;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * count));
}

#define YKSTD_MAP_SIZES Arg(100000)->Arg(1000000)->Arg(2000000)->Unit(benchmark::kMillisecond)

BENCHMARK(BM_IntIntDataMap_Insert)->YKSTD_MAP_SIZES;
BENCHMARK(BM_UnorderedMap_Insert)->YKSTD_MAP_SIZES;
BENCHMARK(BM_IntIntDataMap_Find)->YKSTD_MAP_SIZES;
BENCHMARK(BM_UnorderedMap_Find)->YKSTD_MAP_SIZES;

}  // namespace

BENCHMARK_MAIN();
