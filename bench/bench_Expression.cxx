// One-shot evaluation of typical texts: the library's evaluator parses and computes each text
// with its units; muParser parses and evaluates the unit-free equivalent of the same text.
#include <benchmark/benchmark.h>
#include <muParser.h>

#include <ykstd/ykstd.hxx>

namespace {

struct Case {
  const char* withUnits;
  const char* unitFree;
};

const Case kCases[] = {
    {"mm(10)+in(1)/2", "10+25.4*1/2"},
    {"(2+3)*4-10/4", "(2+3)*4-10/4"},
    {"sqrt(mm(3)*mm(3)+mm(4)*mm(4))", "sqrt(3*3+4*4)"},
    {"sin(deg(30))*2", "sin(30*0.017453292519943295)*2"},
};

void Ykstd(benchmark::State& state) {
  const Case& c = kCases[state.range(0)];
  const ykstd_AsciiString text(c.withUnits);
  ykstd_Dim result;
  for (auto _ : state) {
    benchmark::DoNotOptimize(ykstd_Expression::Evaluate(text, result));
    benchmark::DoNotOptimize(result);
  }
  state.SetLabel(c.withUnits);
}

void MuParser(benchmark::State& state) {
  const Case& c = kCases[state.range(0)];
  const std::string text(c.unitFree);
  mu::Parser parser;  // made once, as a caller would keep it; each turn sets and parses the text anew
  for (auto _ : state) {
    parser.SetExpr(text);
    benchmark::DoNotOptimize(parser.Eval());
  }
  state.SetLabel(c.unitFree);
}

BENCHMARK(Ykstd)->DenseRange(0, 3);
BENCHMARK(MuParser)->DenseRange(0, 3);

}  // namespace

BENCHMARK_MAIN();
