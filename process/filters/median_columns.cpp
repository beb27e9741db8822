#include "process/filters/median_columns.h"

#include "base/variants.h"

namespace tavo::process {

const MedianKernels& median_kernels() {
  return *Variants<const MedianKernels*>{.any = &kMedianKernelsSse2, .avx2 = &kMedianKernelsAvx2}
              .best();
}

}  // namespace tavo::process
