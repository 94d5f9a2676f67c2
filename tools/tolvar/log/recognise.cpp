// Reads a line through the catalogue. Runs for every line of a log: no allocation, and only the
// patterns that begin with the line's first letter are tried.
#include <algorithm>
#include <charconv>
#include <limits>
#include <vector>

#include "tools/tolvar/log/catalogue.h"

namespace devicelog {
namespace {

// A pattern taken apart: a literal head, then pieces, each with the literal that follows it.
struct Shape {
  struct Piece {
    std::string_view name;
    bool isNumber = false;
    std::string_view after;  // empty: the piece reaches to the end
  };
  const Message* message = nullptr;
  std::string_view head;
  std::array<Piece, maxPieces> pieces;
  std::size_t count = 0;
};

bool IsLetter(char c) { return c >= 'a' && c <= 'z'; }

bool IsNumber(std::string_view text) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

// Where the next piece begins: at a brace with a letter behind it.
std::size_t NextPiece(std::string_view pattern) {
  std::size_t at = pattern.find('{');
  while (at != std::string_view::npos && at + 1 < pattern.size() && !IsLetter(pattern[at + 1])) {
    at = pattern.find('{', at + 1);
  }
  return std::min(at, pattern.size());
}

Shape TakeApart(const Message& message) {
  Shape shape;
  shape.message = &message;
  std::string_view rest = message.pattern;
  shape.head = rest.substr(0, NextPiece(rest));
  rest.remove_prefix(shape.head.size());
  while (!rest.empty()) {
    Shape::Piece& piece = shape.pieces[shape.count++];
    const std::size_t end = rest.find('}');
    piece.name = rest.substr(1, end - 1);
    piece.isNumber = piece.name.back() == '#';
    if (piece.isNumber) piece.name.remove_suffix(1);
    rest.remove_prefix(end + 1);
    piece.after = rest.substr(0, NextPiece(rest));
    rest.remove_prefix(piece.after.size());
  }
  return shape;
}

// The shapes by their first letter, the longest head first, so that "Parsed component info: name "
// is tried before "Parsed component ".
using Index = std::array<std::vector<Shape>, 256>;

std::vector<Shape>& At(Index& index, char first) {
  return index[static_cast<unsigned char>(first)];
}

Index MakeIndex() {
  Index index;
  for (const Message& message : TheCatalogue()) {
    At(index, message.pattern[0]).push_back(TakeApart(message));
  }
  for (std::vector<Shape>& shapes : index) {
    std::stable_sort(shapes.begin(), shapes.end(),
                     [](const Shape& a, const Shape& b) { return a.head.size() > b.head.size(); });
  }
  return index;
}

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// The end of piece `i` in `rest`; npos when what must follow it is not there.
std::size_t EndOfPiece(const Shape& shape, std::size_t i, std::string_view rest) {
  const Shape::Piece& piece = shape.pieces[i];
  if (i + 1 == shape.count) {
    return EndsWith(rest, piece.after) ? rest.size() - piece.after.size() : std::string_view::npos;
  }
  const bool lastIsNumber = i + 2 == shape.count && shape.pieces[i + 1].isNumber;
  return lastIsNumber ? rest.rfind(piece.after) : rest.find(piece.after);
}

bool Fits(const Shape& shape, std::string_view text, Pieces& pieces) {
  const std::size_t length = shape.head.size();
  // The heads of a letter differ at their ends more often than at their beginnings.
  if (text.size() < length || text[length - 1] != shape.head[length - 1]) return false;
  if (text.substr(0, length) != shape.head) return false;
  std::string_view rest = text.substr(length);
  for (std::size_t i = 0; i < shape.count; ++i) {
    const std::size_t end = EndOfPiece(shape, i, rest);
    if (end == std::string_view::npos) return false;
    pieces[i] = rest.substr(0, end);
    if (shape.pieces[i].isNumber && !IsNumber(pieces[i])) return false;
    rest.remove_prefix(end + shape.pieces[i].after.size());
  }
  return rest.empty();
}

}  // namespace

const Message* Recognise(std::string_view text, Pieces& pieces) {
  static const Index index = MakeIndex();
  if (text.empty()) return nullptr;
  for (const Shape& shape : index[static_cast<unsigned char>(text[0])]) {
    pieces = {};
    if (Fits(shape, text, pieces)) return shape.message;
  }
  return nullptr;
}

std::uint32_t NumberIn(std::string_view digits) {
  std::uint32_t number = 0;
  const auto [end, code] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool isTooLarge = code == std::errc::result_out_of_range;
  return isTooLarge ? std::numeric_limits<std::uint32_t>::max() : number;
}

Pieces PieceNames(const Message& message) {
  const Shape shape = TakeApart(message);
  Pieces names;
  for (std::size_t i = 0; i < shape.count; ++i) names[i] = shape.pieces[i].name;
  return names;
}

}  // namespace devicelog
