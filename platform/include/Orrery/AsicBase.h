// Orrery stand-in: root of all accessors.
#pragma once

#include <Hardware/Types.h>
#include <Larch/String.h>
#include <Orrery/Assert.h>
#include <Orrery/Types.h>

namespace Orrery {

class AsicBase {
 public:
  AsicBase(U8 chipType, U8* buf, U32 len, bool flag, U8 variant, U8 reserved)
      : buf_(buf),
        chipType_(chipType),
        variant_(variant),
        len_(static_cast<U16>(len)),
        flag_(flag) {
    (void)reserved;
  }
  AsicBase(const AsicBase&) = delete;
  AsicBase& operator=(const AsicBase&) = delete;

  virtual ~AsicBase() = default;
  virtual void setField64(U32 id, U64 value) = 0;
  virtual U64 stringField(const Larch::String& name, U16 word) const = 0;
  virtual void stringFieldIs(const Larch::String& name, const U64& value) = 0;
  virtual U16 fieldWidth(U32 id) const = 0;
  virtual U16 fieldOffset(U32 id) const = 0;
  virtual bool isFieldValid(U32 id) const = 0;
  virtual U16 width() const = 0;
  virtual U32 entries() const {
    ORRERY_ASSERT_FAIL_AT("false && \"entries invalid for this class\"", "Orrery/AsicBase", 101);
  }
  virtual U32 maxIdentifier() const {
    ORRERY_ASSERT_FAIL_AT("false && \"maxIdentifier invalid for this class\"", "Orrery/AsicBase",
                          104);
  }
  virtual U16 fieldCount() const = 0;
  virtual bool isTable() const = 0;
  virtual Raw8192 allFieldsMask() const = 0;
  virtual S32 sdkDefinedId() const { ORRERY_ASSERT_FAIL_AT("false", "Orrery/AsicBase", 144); }
  virtual U16 instanceCount() const = 0;
  virtual bool hasInstance(U32) const { ORRERY_ASSERT_FAIL_AT("false", "Orrery/AsicBase", 156); }
  virtual bool hasIdentifier(U32 identifier) const = 0;
  virtual U32 arrayElements() const = 0;
  virtual U32 tableVariantCount() const { ORRERY_ASSERT_FAIL_AT("false", "Orrery/AsicBase", 173); }
  virtual EntrySpans entrySpans() const { ORRERY_ASSERT_FAIL_AT("false", "Orrery/AsicBase", 178); }
  virtual bool compareTo(const void*, U16) const {
    ORRERY_ASSERT_FAIL_AT("0", "Orrery/AsicBase", 186);
  }
  virtual bool getSchanAddress(U32& address, U32& subBlock, U32& block, U16 identifier,
                               U32 tableEntry, U16 arrayIndex) const = 0;

  // The object's binding, for callers that hold the root class: the buffer
  // (which a caller may fill or read as raw bytes), its length, chip and variant.
  U8* buf() { return buf_; }
  const U8* buf() const { return buf_; }
  U16 len() const { return len_; }
  U8 chipType() const { return chipType_; }
  U8 variant() const { return variant_; }

 protected:
  U8* buf_;
  U8 chipType_;
  U8 variant_;
  U16 len_;
  bool flag_;
};

}  // namespace Orrery
