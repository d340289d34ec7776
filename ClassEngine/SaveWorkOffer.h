// When the program is about to fail (out of memory, a crash), the user is
// offered to save the work first. The shell installs what that offer does; the
// lower layers only ask for it. The offer runs at most once per run.
#pragma once
#include <functional>

void SetSaveWorkOffer(std::function<void()> offer);
// Runs the installed offer unless one already ran; returns whether it ran.
bool OfferToSaveWork();
// Allows the offer once more (tests only).
void ResetSaveWorkOffer();
