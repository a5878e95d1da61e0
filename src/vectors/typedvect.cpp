#include "vectors/typedvect.h"

#include "typedvect-access.h"
#include "typedvect-arithmetic.h"
#include "typedvect-correlate.h"
#include "typedvect-measure.h"
#include "vectors/rowvect.h"

namespace tarnvisor {

namespace {

template <class Item>
constexpr const char* kStoredName = nullptr;
template <>
constexpr const char* kStoredName<uint8_t> = "Cubyte1Vect";
template <>
constexpr const char* kStoredName<int8_t> = "Cbyte1Vect";
template <>
constexpr const char* kStoredName<uint16_t> = "Cubyte2Vect";
template <>
constexpr const char* kStoredName<int16_t> = "Cbyte2Vect";
template <>
constexpr const char* kStoredName<uint32_t> = "Cubyte4Vect";
template <>
constexpr const char* kStoredName<int32_t> = "Cbyte4Vect";
template <>
constexpr const char* kStoredName<float> = "CfloatVect";
template <>
constexpr const char* kStoredName<double> = "CdoubleVect";

}  // namespace

template <class Item>
const ArchiveClass& TypedVect<Item>::archiveClass() {
  static const ArchiveClass record{
      kStoredName<Item>, 1, &CdataVect::archiveClass(),
      []() -> std::unique_ptr<ArchiveObject> { return std::make_unique<TypedVect>(); }};
  return record;
}

template class TypedVect<uint8_t>;
template class TypedVect<int8_t>;
template class TypedVect<uint16_t>;
template class TypedVect<int16_t>;
template class TypedVect<uint32_t>;
template class TypedVect<int32_t>;
template class TypedVect<float>;
template class TypedVect<double>;

void registerDataVectors() {
  for (const ArchiveClass* record :
       {&Cubyte1Vect::archiveClass(), &Cbyte1Vect::archiveClass(), &Cubyte2Vect::archiveClass(),
        &Cbyte2Vect::archiveClass(), &Cubyte4Vect::archiveClass(), &Cbyte4Vect::archiveClass(),
        &CfloatVect::archiveClass(), &CdoubleVect::archiveClass(), &CArrayVect::archiveClass(),
        &CArrayVect1::archiveClass(), &Cdouble2DVect::archiveClass()})
    registerArchiveClass(*record);
}

}  // namespace tarnvisor
