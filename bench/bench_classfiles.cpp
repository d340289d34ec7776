// Speed of the class files: the binary form of a ClassArray of small objects
// through a MemoryBinStream (the road of scene blocks and undo records), and
// the XML form of a ClassArray (the road of settings, presets and layouts).
// Each runs over 1k, 10k and 100k elements with a fitted complexity, which
// must come out linear.
#include <benchmark/benchmark.h>

#include <string>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/MemberClasses.h"
#include "ClassEngine/streams/MemoryBinStream.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"

namespace {
class SmallItem : public BaseClass {
 public:
  int Id = 0;
  float Weight = 0;
  bool On = false;
  _str Label;
  MV_CLASS(SmallItem, BaseClass) {
    Member("_int", Id, "Id");
    Member("_float", Weight, "Weight");
    Member("_bool", On, "On");
    Member("_str", Label, "Label");
  }
};

void Register() {
  static bool done = [] {
    RegisterClassEngineClasses();
    SmallItem model;
    RegisterClass(&model, nullptr, "SmallItem");
    return true;
  }();
  (void)done;
}

void Fill(ClassArray<SmallItem>& items, int n) {
  items.Clear();
  for (int i = 0; i < n; i++) {
    items.ExpandWith("SmallItem", &items);
    SmallItem* s = items[i];
    s->Id = i;
    s->Weight = (float)i * 0.25f;
    s->On = (i & 1) != 0;
    s->Label = ("item " + std::to_string(i)).c_str();
  }
}

void SaveBinArray(benchmark::State& state) {
  Register();
  int n = (int)state.range(0);
  ClassArray<SmallItem> items;
  Fill(items, n);
  for (auto _ : state) {
    MemoryBinStream s;
    items.SaveBin(&items, nullptr, &s, nullptr);
    benchmark::DoNotOptimize(s.GetData());
  }
  state.SetItemsProcessed(state.iterations() * n);
  state.SetComplexityN(n);
}

void LoadBinArray(benchmark::State& state) {
  Register();
  int n = (int)state.range(0);
  ClassArray<SmallItem> items;
  Fill(items, n);
  MemoryBinStream s;
  items.SaveBin(&items, nullptr, &s, nullptr);
  ClassArray<SmallItem> back;
  for (auto _ : state) {
    s.SetReadPos(0);
    if (!back.LoadBin(&back, nullptr, &s, nullptr)) state.SkipWithError("LoadBin failed");
  }
  state.SetItemsProcessed(state.iterations() * n);
  state.SetComplexityN(n);
}

// Save into a tree and write its text, as WriteToFile does short of the disk.
void SaveXmlArray(benchmark::State& state) {
  Register();
  int n = (int)state.range(0);
  ClassArray<SmallItem> items;
  Fill(items, n);
  for (auto _ : state) {
    XmlNode root;
    items.Save(&root);
    std::string text;
    root.Write(text);
    benchmark::DoNotOptimize(text.data());
  }
  state.SetItemsProcessed(state.iterations() * n);
  state.SetComplexityN(n);
}

// Parse the text and load it into an empty array, as ReadFromFile does.
void LoadXmlArray(benchmark::State& state) {
  Register();
  int n = (int)state.range(0);
  ClassArray<SmallItem> items;
  Fill(items, n);
  XmlNode root;
  items.Save(&root);
  std::string text;
  root.Write(text);
  for (auto _ : state) {
    XmlNode tree;
    tree.Parse(text.c_str());
    ClassArray<SmallItem> back;
    ErrorCollector silent(false);
    back.Load(&tree, &back, &silent);
    benchmark::DoNotOptimize(back.GetAmount());
  }
  state.SetItemsProcessed(state.iterations() * n);
  state.SetComplexityN(n);
}
}  // namespace

BENCHMARK(SaveBinArray)->RangeMultiplier(10)->Range(1000, 100000)->Complexity()->Unit(benchmark::kMillisecond);
BENCHMARK(LoadBinArray)->RangeMultiplier(10)->Range(1000, 100000)->Complexity()->Unit(benchmark::kMillisecond);
BENCHMARK(SaveXmlArray)->RangeMultiplier(10)->Range(1000, 100000)->Complexity()->Unit(benchmark::kMillisecond);
BENCHMARK(LoadXmlArray)->RangeMultiplier(10)->Range(1000, 100000)->Complexity()->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
