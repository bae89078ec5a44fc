// The 2 by 2 matrix of pictures and the geometry around an anchor. Y grows downward.
#pragma once

namespace quillmere {

/// A point maps as x' = m00 * x + m10 * y, y' = m01 * x + m11 * y.
struct Matrix {
  double m00 = 1;
  double m01 = 0;
  double m10 = 0;
  double m11 = 1;

  [[nodiscard]] bool IsIdentity() const { return m00 == 1 && m01 == 0 && m10 == 0 && m11 == 1; }
  friend bool operator==(const Matrix&, const Matrix&) = default;
};

/// Builds a matrix from a size, or scale factors, and an angle in degrees, counter-clockwise. A
/// target size of 0 is the source size; as soon as the target size differs from the source size, it
/// is used in place of the scale factors. Source sizes are 1 or more.
[[nodiscard]] Matrix BuildMatrix(int targetWidth, int targetHeight, int sourceWidth,
                                 int sourceHeight, double angle, double scaleX, double scaleY);

/// The box of a transformed picture.
struct TransformedBox {
  /// Whole pixels; may be below 1. Sizes that fit no 32-bit number are the largest that does.
  int width = 0;
  int height = 0;
  /// The smallest mapped coordinates.
  double left = 0;
  double top = 0;
};
[[nodiscard]] TransformedBox TransformedSize(const Matrix& matrix, int width, int height);

/// A picture box in whole pixels.
struct PlacedBox {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

/// The box that a transformed picture takes when it stands at x, y and its anchor point (in pixels
/// from its top left) stays where it was.
[[nodiscard]] PlacedBox AnchoredBox(int x, int y, int width, int height, const Matrix& matrix,
                                    double anchorX, double anchorY);

/// A vertex in whole pixels.
struct Vertex {
  int x = 0;
  int y = 0;
  friend bool operator==(const Vertex&, const Vertex&) = default;
};

/// Maps a vertex as a point around the anchor, in integers.
[[nodiscard]] Vertex TransformVertex(const Vertex& vertex, const Matrix& matrix, int anchorX,
                                     int anchorY);

}  // namespace quillmere
