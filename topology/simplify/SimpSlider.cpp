// Replaying stored collapses (see SimpSlider.h).
#include "topology/simplify/SimpSlider.h"

#include <cmath>
#include <utility>

SimpSlider::SimpSlider(std::vector<uint32_t> indices, CollapseLog log)
    : indices_(std::move(indices)), log_(std::move(log)) {
  alive_.assign(indices_.size() / 3, 1);
  live_ = (int)alive_.size();
}

void SimpSlider::Forward() {
  const CollapseRecord& r = log_.records[size_t(position_++)];
  for (int i = 0; i < r.cornerCount; ++i) indices_[size_t(log_.corners[size_t(r.firstCorner + i)])] = uint32_t(r.to);
  for (int t : r.removed)
    if (t >= 0) alive_[size_t(t)] = 0, --live_;
}

void SimpSlider::Backward() {
  const CollapseRecord& r = log_.records[size_t(--position_)];
  for (int i = 0; i < r.cornerCount; ++i) indices_[size_t(log_.corners[size_t(r.firstCorner + i)])] = uint32_t(r.from);
  for (int t : r.removed)
    if (t >= 0) alive_[size_t(t)] = 1, ++live_;
}

void SimpSlider::SetFraction(float fraction) {
  const int target = (int)std::trunc(double(indices_.size()) * double(fraction) / 3);
  const int end = (int)log_.records.size();
  while ((live_ > target + 2 || fraction <= 0) && position_ < end) Forward();
  while ((live_ < target - 2 || fraction >= 1) && position_ > 0) Backward();
}
