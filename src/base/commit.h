// The commit that the program was built of: what tells two builds of one version apart.
#pragma once

namespace tarnvisor {

// Its abbreviated name, with "+changes" where tracked files differed from it; "unknown" where the sources
// were no git repository.
const char* programCommit();

}  // namespace tarnvisor
