#include "ClassEngine/SaveWorkOffer.h"

#include <atomic>
#include <utility>

namespace {
std::function<void()> gOffer;
std::atomic<bool> gOffered{false};
}  // namespace

void SetSaveWorkOffer(std::function<void()> offer) { gOffer = std::move(offer); }

bool OfferToSaveWork() {
  if (!gOffer || gOffered.exchange(true)) return false;
  gOffer();
  return true;
}

void ResetSaveWorkOffer() { gOffered = false; }
