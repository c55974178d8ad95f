// Orrery stand-in: accessor of an S-channel chip.
#pragma once

#include <Orrery/AsicBase.h>

namespace Orrery {

class BcmAsicBase : public AsicBase {
 public:
  using AsicBase::AsicBase;

  virtual bool hasMultipleMem() const { ORRERY_ASSERT_FAIL_AT("0", "Orrery/BcmAsicBase", 26); }
  virtual U32 groupId(U32) const { ORRERY_ASSERT_FAIL_AT("0", "Orrery/BcmAsicBase", 30); }
  virtual U32 numGroups() const { ORRERY_ASSERT_FAIL_AT("0", "Orrery/BcmAsicBase", 34); }
  virtual bool groupInfo(U32, U32&, U32&, U8&) const {
    ORRERY_ASSERT_FAIL_AT("0", "Orrery/BcmAsicBase", 39);
  }
  virtual bool memInfo(U32, U32, U32&, U32&, U32&, U32&, U32&) const {
    ORRERY_ASSERT_FAIL_AT("0", "Orrery/BcmAsicBase", 44);
  }
};

}  // namespace Orrery
