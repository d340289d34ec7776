// One micro-vertex for sample-level tests: it faces +z and is seen from
// above, on layer 1; the frame scales nothing by pressure and the depth unit
// is 1. The pen state is reset with every channel off, and put back after.
#pragma once
#include "paint/GeneralPen.h"
#include "paint/layers/OneLayerInfo.h"
#include "paint/stroke/PaintSample.h"

struct OneVertexSample {
  GeneralPenSaver saved;
  StrokeFrame frame;
  StrokeContext ctx;
  MicroVertex mv;
  LayerMicroVertex dest, backup;
  OneLayerInfo layer;
  VertexSample s;

  OneVertexSample() {
    GeneralPen::Reset();
    GeneralPen::DrawDepth = GeneralPen::DrawColor = GeneralPen::DrawSpecular = false;
    frame.SetStrokeMode(kStrokeConstant);
    frame.PenRadius = 1;
    ctx.Frame = &frame, ctx.CurrentLayer = 1, ctx.UnitScale = 1;
    mv.BaseNormal = mv.Normal = comms::cVec3(0, 0, 1);
    s.Vertex = &mv, s.Dest = &dest, s.Backup = &backup, s.Layer = &layer;
    s.Normal = mv.Normal;  // the walk hands the sample a copy of the normal
  }
  OneVertexSample(const OneVertexSample&) = delete;
  OneVertexSample& operator=(const OneVertexSample&) = delete;
};
