// The three two-dimensional vectors: rings of rows of their parent's items.
#pragma once

#include "vectors/typedvect.h"

namespace tarnvisor {

template <class Item>
class RowVect final : public TypedVect<Item> {
 public:
  using Parent = TypedVect<Item>;
  using Own = CdataVect::Own;
  RowVect() = default;
  RowVect(uint32_t count, uint16_t rowWidth) : Parent(count, rowWidth) {}
  RowVect(const RowVect& other) : Parent(static_cast<const CdataVect&>(other)) {}
  explicit RowVect(const CdataVect& other) : Parent(other) {}
  RowVect(const CdataVect& source, uint32_t start, uint32_t count, uint32_t step)
      : Parent(source, start, count, step) {}
  RowVect& operator=(const RowVect& other);

  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  void serialize(Archive& archive) override;

  [[nodiscard]] bool setwidth(uint32_t n) override;
  Own getArray(uint32_t index) const override;
  double at(uint32_t row, uint32_t column) const override;
  double at(uint32_t row) const override { return Parent::at(row); }
  void copyfrom(uint32_t index, const CdataVect& source, uint32_t count, uint32_t sourcestart = 0) override;
  void sampleavg(const uint8_t* pixels, const PointIndices& points) override;
  void sample(const uint8_t* pixels, const PointIndices& points) override;
  void stretch(const CdataVect& source) override;
  void binaverage(const CdataVect& source, uint32_t n) override;
  void lowpassat(uint32_t index, double k) override;
  double differenceat(uint32_t index) override;
  void ratio(const CdataVect& other, double k) override;
  void peakmax(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions, uint32_t pindex,
               double threshold) const override;
  void peaklocal(uint32_t start, CdataVect* values, uint32_t vindex, CdataVect* positions, uint32_t pindex,
                 double threshold) const override;
  void correlaterows(uint32_t row, uint32_t lag, CdataVect& target, uint32_t targetindex,
                     bool centred) const override;
  void correlaterowsstep(uint32_t row, uint32_t lag, CdataVect& target, uint32_t targetindex, uint32_t step,
                         bool centred) const override;
  void correlatewindow(CdataVect& target, uint32_t first, uint32_t last, uint32_t maxcount) const override;
  void dotcos(CdataVect& out, uint32_t from, uint32_t to, double k) const override;
  void dotcossin(CdataVect& outcos, CdataVect& outsin, uint32_t from, uint32_t to, double k) const override;
  void rowfft(uint32_t from, uint32_t to, const CdataVect& source, const CdataVect* imaginary) override;
  void centroid(uint32_t from, uint32_t to, CdataVect& result, bool isSigned) const override;
  void houghrow(uint32_t row, CdataVect& accumulator, uint32_t accrow, const double* slopes, uint32_t nslopes,
                uint32_t limit) const override;

  using Parent::data;
  using Parent::size;
  using Parent::width;

 protected:
  CdataVect* makeLike() const override;
  using Parent::itemCount;
  using Parent::rowItems;
  using Parent::rowsOf;

 private:
  uint32_t rowBefore(uint32_t row, uint32_t lag) const;
};

using CArrayVect = RowVect<uint16_t>;
using CArrayVect1 = RowVect<uint8_t>;
using Cdouble2DVect = RowVect<double>;

extern template class RowVect<uint16_t>;
extern template class RowVect<uint8_t>;
extern template class RowVect<double>;

}  // namespace tarnvisor
