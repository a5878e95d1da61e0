// Making, copying, storing and reaching items of TypedVect; part of typedvect.cpp.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdio>
#include <new>

#include "archive/archive.h"
#include "vectors/itemcast.h"
#include "vectors/typedvect.h"

namespace tarnvisor {

static_assert(std::endian::native == std::endian::little, "items are stored as they lie in memory");

template <class Item>
TypedVect<Item>::TypedVect() {
  elementsize = sizeof(Item);
}

template <class Item>
TypedVect<Item>::TypedVect(uint32_t count, uint16_t rowWidth) : TypedVect() {
  width = std::max<uint16_t>(rowWidth, 1);
  allocate(count, uint32_t{width} * elementsize);
}

template <class Item>
TypedVect<Item>::TypedVect(const CdataVect& other) : TypedVect() {
  copyAll(other);
}

template <class Item>
TypedVect<Item>::TypedVect(const CdataVect& source, uint32_t start, uint32_t count, uint32_t step)
    : TypedVect() {
  copySome(source, start, count, step);
}

template <class Item>
TypedVect<Item>& TypedVect<Item>::operator=(const TypedVect& other) {
  if (this != &other) assign(other);
  return *this;
}

template <class Item>
bool TypedVect<Item>::copyAll(const CdataVect& other) {
  return copySome(other, 0, other.size, 1);
}

template <class Item>
bool TypedVect<Item>::copySome(const CdataVect& source, uint32_t start, uint32_t count, uint32_t step) {
  width = std::max<uint16_t>(source.width, 1);
  if (!allocate(count, uint32_t{width} * elementsize)) return false;
  if (count > 0) source.getcopy(data, start, count, step);
  stride = source.stride;
  cursor = source.cursor;
  return true;
}

template <class Item>
CdataVect* TypedVect<Item>::makeLike() const {
  return new (std::nothrow) TypedVect;
}

template <class Item>
CdataVect::Own TypedVect<Item>::makeView(Item* items, uint32_t count) {
  auto* view = new (std::nothrow) TypedVect;
  if (view) {
    view->data = items;
    view->size = count;
  }
  return Own(view);
}

template <class Item>
CdataVect::Own TypedVect<Item>::clone(uint32_t start, uint32_t count, uint32_t step) const {
  Own copy(makeLike());
  if (copy && static_cast<TypedVect&>(*copy).copySome(*this, start, count, step)) return copy;
  std::fputs("clone(...) failed. Deleting cloneofthis\n", stderr);
  return nullptr;
}

template <class Item>
CdataVect::Own TypedVect<Item>::clone() const {
  Own copy(makeLike());
  if (copy && static_cast<TypedVect&>(*copy).copyAll(*this)) return copy;
  std::fputs("clone() failed. Deleting cloneofthis\n", stderr);
  return nullptr;
}

// A plain copy of the parent class in two dimensions, so that the result is one-dimensional.
template <class Item>
CdataVect::Own TypedVect<Item>::flatclone() const {
  Own copy = TypedVect::makeView(data, size);
  if (copy) copy->width = width;
  if (copy) copy->stride = stride;
  if (copy) copy->cursor = cursor;
  if (copy) copy = copy->clone();
  if (copy) copy->flatten();
  return copy;
}

template <class Item>
CdataVect::Own TypedVect<Item>::emptyclone() const {
  Own made(makeLike());
  if (!made) return made;
  made->width = width;
  made->stride = stride;
  return made;
}

template <class Item>
void TypedVect<Item>::assign(const CdataVect& other) {
  if (&other == this) return;
  release();
  if (!copyAll(other)) std::fputs("arrayvect = operator memory failure!\n", stderr);
}

template <class Item>
bool TypedVect<Item>::resize(uint32_t count) {
  return count == size || reallocate(count, uint32_t{width} * elementsize) != nullptr;
}

template <class Item>
CdataVect::Own TypedVect<Item>::getArray(uint32_t index) const {
  if (index >= size) {
    std::fputs("datavect bad index for getArray\n", stderr);
    index = 0;
  }
  return makeView(data + index, size - index);
}

template <class Item>
void TypedVect<Item>::serialize(Archive& archive) {
  transfer(archive, false, "datavect read memory failure!\n");
}

template <class Item>
void TypedVect<Item>::transfer(Archive& archive, bool withWidth, const char* failure) {
  if (archive.isStoring()) {
    const uint32_t count = data ? size : 0;
    archive.putDword(count);
    archive.putWord(static_cast<uint16_t>(stride));
    archive.putDword(cursor);
    if (withWidth) archive.putWord(width);
    if (count > 0) archive.write(data, uint64_t{count} * (withWidth ? width : 1) * sizeof(Item));
    return;
  }
  const uint32_t count = archive.getDword();
  stride = archive.getWord();
  cursor = archive.getDword();
  const uint16_t rowWidth = withWidth ? archive.getWord() : uint16_t{1};
  // In this order: a vector that holds a block takes no items from the archive.
  const bool held = buffer != nullptr;
  if (!held && count > 0) {
    if (rowWidth == 0) throw ArchiveException("a vector has rows without items");
    if (uint64_t{count} * rowWidth * sizeof(Item) > archive.remaining())
      throw ArchiveException("the file ends too early");
  }
  size = count;
  release();
  width = std::max<uint16_t>(rowWidth, 1);
  if (!allocate(size, uint32_t{width} * elementsize)) {
    std::fputs(failure, stderr);
    return;
  }
  archive.readExactly(data, uint64_t{size} * width * sizeof(Item));
}

template <class Item>
double TypedVect<Item>::at(uint32_t row, uint32_t column) const {
  return static_cast<double>(data[uint64_t{row} + column]);
}

template <class Item>
double TypedVect<Item>::at(uint32_t row) const {
  return static_cast<double>(*rowItems(row));
}

template <class Item>
template <class To>
uint32_t TypedVect<Item>::copyOut(To* out, uint32_t start, uint32_t count, uint32_t step) const {
  const uint32_t rows = clipcount(start, count, step);
  if (!data || !out) return 0;
  const auto cast = [](Item x) { return itemCast<To>(x); };
  if (step == 1) {
    // A block copy where the types are the same.
    const Item* from = rowItems(start);
    if constexpr (std::is_same_v<To, Item>)
      std::copy_n(from, uint64_t{rows} * width, out);
    else
      std::transform(from, from + uint64_t{rows} * width, out, cast);
    return rows;
  }
  for (uint32_t i = 0; i < rows; ++i) {
    const Item* from = data + (start + uint64_t{i} * step) * width;
    out = std::transform(from, from + width, out, cast);
  }
  return rows;
}

template <class Item>
uint32_t TypedVect<Item>::getcopy(double* out, uint32_t start, uint32_t count, uint32_t step) const {
  return copyOut(out, start, count, step);
}
template <class Item>
uint32_t TypedVect<Item>::getcopy(float* out, uint32_t start, uint32_t count, uint32_t step) const {
  return copyOut(out, start, count, step);
}
template <class Item>
uint32_t TypedVect<Item>::getcopy(uint32_t* out, uint32_t start, uint32_t count, uint32_t step) const {
  return copyOut(out, start, count, step);
}
template <class Item>
uint32_t TypedVect<Item>::getcopy(int32_t* out, uint32_t start, uint32_t count, uint32_t step) const {
  return copyOut(out, start, count, step);
}
template <class Item>
uint32_t TypedVect<Item>::getcopy(uint16_t* out, uint32_t start, uint32_t count, uint32_t step) const {
  return copyOut(out, start, count, step);
}
template <class Item>
uint32_t TypedVect<Item>::getcopy(int16_t* out, uint32_t start, uint32_t count, uint32_t step) const {
  return copyOut(out, start, count, step);
}
template <class Item>
uint32_t TypedVect<Item>::getcopy(uint8_t* out, uint32_t start, uint32_t count, uint32_t step) const {
  return copyOut(out, start, count, step);
}
template <class Item>
uint32_t TypedVect<Item>::getcopy(int8_t* out, uint32_t start, uint32_t count, uint32_t step) const {
  return copyOut(out, start, count, step);
}

template <class Item>
void TypedVect<Item>::addat(uint32_t row, uint32_t column, double value) {
  Item& cell = rowItems(row)[column];
  cell = itemCast<Item>(static_cast<double>(cell) + value);
}

template <class Item>
uint32_t TypedVect<Item>::rowsOf(uint32_t& from, uint32_t to) const {
  if (size == 0 || !data) return 0;
  from %= size;
  to %= size;
  return to > from ? to - from : size - from + to;
}

template <class Item>
typename TypedVect<Item>::Runs TypedVect<Item>::rangeOf(uint32_t from, uint32_t to) const {
  Runs runs;
  const uint32_t rows = rowsOf(from, to);
  const uint32_t before = std::min(rows, size - from);
  runs.first = data ? rowItems(from) : nullptr;
  runs.firstCount = uint64_t{before} * width;
  runs.second = data;
  runs.secondCount = uint64_t{rows - before} * width;
  return runs;
}

}  // namespace tarnvisor
