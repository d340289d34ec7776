// Small reflected classes shared by the reflection tests.
#pragma once
#include "ClassEngine/BaseClass.h"
#include "ClassEngine/ClassArray.h"
#include "ClassEngine/ClassPtr.h"
#include "ClassEngine/MemberClasses.h"

class Shape : public BaseClass {
 public:
  int Id = 0;
  float Size = 1;
  bool Visible = true;
  _str Name;
  uint32_t Color = 0xFF000000u;
  MV_CLASS(Shape, BaseClass) {
    Member("_int", Id, "Id");
    Member("_float", Size, "Size");
    Member("_bool", Visible, "Visible");
    Member("_str", Name, "Name");
    Member("_color", Color, "Color");
  }
};

class Circle : public Shape {
 public:
  int Segments = 8;
  float Radius = 2;
  MV_CLASS(Circle, Shape) {
    Member("_int", Segments, "Segments");
    Member("_float", Radius, "Radius");
  }
};

class Square : public Shape {
 public:
  float Side = 1;
  MV_CLASS(Square, Shape) { Member("_float", Side, "Side"); }
};

class Scene : public BaseClass {
 public:
  _str Title;
  int Count = 0;
  ClassArray<Shape> Shapes;
  ClassPtr<Shape> Main;
  int Clicks = 0;
  void Click() { Clicks++; }
  MV_CLASS(Scene, BaseClass) {
    Member("_str", Title, "Title");
    AddDelimiter("|Shapes");
    Member("_int", Count, "#Count");
    Member(Shapes, "Shapes");
    Member(Main, "Main");
    Method(&Scene::Click, "Click");
  }
};

inline void RegisterTestClasses() {
  RegisterClassEngineClasses();
  Shape shape;
  RegisterClass(&shape, nullptr, "Shape");
  Circle circle;
  RegisterClass(&circle, "Round", "class Circle");
  Square square;
  RegisterClass(&square, "Angular", "Square");
  Scene scene;
  RegisterClass(&scene, nullptr, "Scene");
}
