// XML dialect: parse and write documents of many array elements. The
// complexity fit shows whether either grows faster than the element count.
#include <benchmark/benchmark.h>

#include <string>

#include "ClassEngine/xml/XmlNode.h"

namespace {
std::string MakeDocument(int elements) {
  XmlNode root("ClassArray.OneHotKey");
  for (int i = 0; i < elements; i++) {
    XmlNode* e = root.AddChild("OneHotKey");
    e->AddChild("Key", std::to_string(i % 93).c_str());
    e->AddChild("Command", ("CMD_" + std::to_string(i)).c_str());
    e->AddChild("Weight", "0.500000");
  }
  std::string text;
  root.Write(text);
  return text;
}

void BM_XmlParse(benchmark::State& state) {
  std::string text = MakeDocument((int)state.range(0));
  for (auto _ : state) {
    XmlNode root;
    benchmark::DoNotOptimize(root.Parse(text.c_str()));
  }
  state.SetBytesProcessed(state.iterations() * (int64_t)text.size());
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_XmlParse)->RangeMultiplier(10)->Range(1000, 100000)->Complexity();

void BM_XmlWrite(benchmark::State& state) {
  std::string text = MakeDocument((int)state.range(0));
  XmlNode root;
  root.Parse(text.c_str());
  for (auto _ : state) {
    std::string out;
    root.Write(out);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(state.iterations() * (int64_t)text.size());
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_XmlWrite)->RangeMultiplier(10)->Range(1000, 100000)->Complexity();
}  // namespace

BENCHMARK_MAIN();
