// cSamplerState: how a texture is sampled: the filter, the addressing of u
// and v and the anisotropy limit, by the enumerators "SAMPLER_FILTER"
// (Point, Linear, Anisotropic) and "SAMPLER_ADDRESS" (Wrap, Clamp, Mirror).
#pragma once
#include "ClassEngine/comms/cClass.h"

namespace comms {

cEnum* SamplerFilters();
cEnum* SamplerAddressModes();

class cSamplerState : public cClass {
 public:
  int Filter = 1;  // Linear
  int AddressU = 0;
  int AddressV = 0;
  int MaxAnisotropy = 1;
  MV_CLASS(cSamplerState, cClass) {
    Member("_cIndex", Filter, "Filter", SamplerFilters());
    Member("_cIndex", AddressU, "AddressU", SamplerAddressModes());
    Member("_cIndex", AddressV, "AddressV", SamplerAddressModes());
    Member("_cSliderI", MaxAnisotropy, "MaxAnisotropy", NewIntSliderRange(1, 16));
  }
  void Reset(void* ptr) override;
};

}  // namespace comms
