// The adjust tools in stroke scripts (MC/brushes/ReplayCommand.h), one line
// each, positions in the volume's space:
//   axial N PX PY PZ AX AY AZ            N copies about the axis through P along A
//   wrap N START END STEP PX PY PZ AX AY AZ   a bent chain of N copies
//   barelief COEF OX OY OZ SX SY SZ      flattens what lies in front of O towards S
//   transpose MODE W AX AY AZ BX BY BZ TX TY TZ
//                                        selects by MODE (line biline sphere object)
//                                        from A to B with strength W, moves by T
//   copy SX SY SZ X Y Z X Y Z ...        stamps along the points what lies around S,
//                                        shifted by the first point (pen radius)
#pragma once
#include <sstream>
#include <string>

class VolumeObject;

// 0 when `command` is none of these; 1 when it ran; -1 with `error` set when
// its arguments are wrong.
int RunAdjustReplay(const std::string& command, std::istringstream& words, VolumeObject& volume, float radius,
                    std::string& error);
