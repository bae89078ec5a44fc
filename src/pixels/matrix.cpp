#include "pixels/matrix.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include "base/numbers.h"

namespace quillmere {
namespace {

constexpr double radiansPerDegree = 0.017453292519943295;

struct Point {
  double x;
  double y;
};

Point Map(const Matrix& matrix, double x, double y) {
  return {matrix.m00 * x + matrix.m10 * y, matrix.m01 * x + matrix.m11 * y};
}

/// The box around four mapped points.
struct Bounds {
  double left, top, right, bottom;
};

Bounds BoundsOf(std::initializer_list<Point> points) {
  const auto [left, right] = std::minmax(points, [](Point a, Point b) { return a.x < b.x; });
  const auto [top, bottom] = std::minmax(points, [](Point a, Point b) { return a.y < b.y; });
  return {left.x, top.y, right.x, bottom.y};
}

}  // namespace

Matrix BuildMatrix(int targetWidth, int targetHeight, int sourceWidth, int sourceHeight,
                   double angle, double scaleX, double scaleY) {
  if (targetWidth == 0) targetWidth = sourceWidth;
  if (targetHeight == 0) targetHeight = sourceHeight;
  Matrix matrix{.m00 = scaleX, .m11 = scaleY};
  if (targetWidth != sourceWidth || targetHeight != sourceHeight) {
    matrix.m00 = static_cast<double>(targetWidth) / sourceWidth;
    matrix.m11 = static_cast<double>(targetHeight) / sourceHeight;
  }
  if (angle == 0) return matrix;
  const double radians = (360 - std::fmod(angle, 360)) * radiansPerDegree;
  const double c = std::cos(radians), s = std::sin(radians);
  return {matrix.m00 * c - matrix.m01 * s, matrix.m00 * s + matrix.m01 * c,
          matrix.m10 * c - matrix.m11 * s, matrix.m10 * s + matrix.m11 * c};
}

TransformedBox TransformedSize(const Matrix& matrix, int width, int height) {
  const Bounds box = BoundsOf({Map(matrix, 0, 0), Map(matrix, width, 0), Map(matrix, 0, height),
                               Map(matrix, width, height)});
  return {ToInt32(std::ceil(box.right - box.left - 0.5)),
          ToInt32(std::ceil(box.bottom - box.top - 0.5)), box.left, box.top};
}

PlacedBox AnchoredBox(int x, int y, int width, int height, const Matrix& matrix, double anchorX,
                      double anchorY) {
  const auto mapped = [&](double cornerX, double cornerY) {
    const Point point = Map(matrix, cornerX - anchorX, cornerY - anchorY);
    return Point{point.x + anchorX, point.y + anchorY};
  };
  const double right = width - 1.0, bottom = height - 1.0;
  const Bounds box =
      BoundsOf({mapped(0, 0), mapped(right, 0), mapped(right, bottom), mapped(0, bottom)});
  return {ToInt32(box.left + x), ToInt32(box.top + y), ToInt32(box.right - box.left + 1),
          ToInt32(box.bottom - box.top + 1)};
}

Vertex TransformVertex(const Vertex& vertex, const Matrix& matrix, int anchorX, int anchorY) {
  const Point point =
      Map(matrix, static_cast<double>(vertex.x) - anchorX, static_cast<double>(vertex.y) - anchorY);
  return {ToInt32(std::trunc(point.x) + anchorX), ToInt32(std::trunc(point.y) + anchorY)};
}

}  // namespace quillmere
