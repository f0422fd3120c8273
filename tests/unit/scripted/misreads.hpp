#ifndef QUORVEL_TESTS_SCRIPTED_MISREADS_HPP
#define QUORVEL_TESTS_SCRIPTED_MISREADS_HPP

namespace scripted {

// How many values were asked for as what they are not, since the process began: whoever does so reads at the
// wrong place.
int misreads();

}  // namespace scripted

#endif
