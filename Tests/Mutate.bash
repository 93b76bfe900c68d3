# Usage: Mutate.bash PROJECT. scripts/mutate over a tree of a few functions: each change gets the verdict that it has to
# get, and the tree is not touched.
set -euo pipefail
project=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
tree=$folder/tree
module=Sources/TavoApp/runtime

fail() {
    echo "failed: $*" >&2
    exit 1
}

mkdir -p "$tree/$module" "$tree/Tests/runtime"
cat >"$tree/CMakeLists.txt" <<'END'
cmake_minimum_required(VERSION 3.25)
project(Numbers CXX)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
find_package(GTest REQUIRED)
add_subdirectory(Sources/TavoApp/runtime)
add_subdirectory(Tests/runtime)
END
cat >"$tree/$module/CMakeLists.txt" <<'END'
add_library(tavo_runtime STATIC Numbers.cpp)
target_include_directories(tavo_runtime PUBLIC "${PROJECT_SOURCE_DIR}/Sources/TavoApp")
END
cat >"$tree/Tests/runtime/CMakeLists.txt" <<'END'
add_executable(test_runtime NumbersTest.cpp)
target_compile_definitions(test_runtime PRIVATE TREE="${PROJECT_SOURCE_DIR}")
target_link_libraries(test_runtime PRIVATE tavo_runtime GTest::gtest_main)
END
cat >"$tree/$module/Numbers.h" <<'END'
#include <string>
struct Even {
    explicit Even(int half) : value(half * 2) {}
    int value;
};
inline int limit() { return 7; }
int larger(int left, int right);
int total(int count);
Even doubled(int number);
std::string described(int number);
END
cat >"$tree/$module/Numbers.cpp" <<'END'
#include "runtime/Numbers.h"
// if (left < right) in a comment, and "in // a text": neither is a condition.
int larger(int left, int right) {
    if (left < right) {
        return right;
    }
    return left;
}
int total(int count) {
    int sum = 0;
    while (count > 0) {
        sum += count;
        --count;
    }
    return sum;
}
Even doubled(int number) { return Even(number); }
std::string described(int number) { return number > 9 ? "large // not a comment" : "small"; }
END
cat >"$tree/Tests/runtime/NumbersTest.cpp" <<'END'
#include "runtime/Numbers.h"
#include <gtest/gtest.h>
#include <fstream>
TEST(Numbers, TheLargerIsFound) { EXPECT_EQ(larger(1, 2), 2); EXPECT_EQ(larger(2, 1), 2); }
TEST(Numbers, AreAddedUp) { EXPECT_EQ(total(3), 6); }
TEST(Numbers, TheLimitIsKept) { EXPECT_EQ(limit(), 7); }
TEST(Numbers, AreDescribed) { EXPECT_EQ(described(1), "small"); EXPECT_EQ(doubled(2).value, 4); }
TEST(Numbers, NothingIsWrittenOutsideOfTheSandbox) { EXPECT_FALSE(std::ofstream(TREE "/written")); }
END
content() { (cd "$tree" && find . -type f -exec cksum {} + | sort); }
before=$(content)

mutate() { "$project/scripts/mutate" --project "$tree" --folder "$folder/work" --nice 0 --patience 5 "$@"; }
status=0
listed=$(mutate --list 2>&1) || fail "the changes are not listed: $listed"
! grep -q ':2:' <<<"$listed" || fail "a comment is to be changed: $listed"
grep -q 'Numbers.cpp:18:57:text: `"large // not a comment"` became `""`' <<<"$listed" ||
    fail "a text is not found whole: $listed"

only=()
for id in cpp:4:9:negate cpp:4:14:compare cpp:13:9:remove cpp:17:35:return cpp:18:53:more h:6:29:more; do
    only+=(--only "runtime/Numbers.$id")
done
said=$(mutate "${only[@]}" 2>&1) || status=$?
expect() { grep -qE "^runtime/Numbers\.$1: .*: $2 \(" <<<"$said" || fail "$1 is not \"$2\": $said"; }
expect cpp:4:9:negate 'noticed by Numbers\.TheLargerIsFound'
expect cpp:4:14:compare identical
expect cpp:13:9:remove 'noticed by time-out \(Numbers\.AreAddedUp\)'
expect cpp:17:35:return 'does not compile'
expect cpp:18:53:more survived
expect h:6:29:more 'noticed by Numbers\.TheLimitIsKept'
[ "$status" -eq 1 ] || fail "one of four survived, and the status is $status: $said"
grep -qE '^all +4 +3 +1 +1 +75\.0% +1 +1$' <<<"$said" || fail "they are not counted: $said"

said=$(mutate --only runtime/Numbers.cpp:18:53:more --only runtime/Numbers.h:6:29:more --goal 50 2>&1) ||
    fail "the goal is reached, and the status is $?: $said"
first=$(mutate --count 3 --seed 7 --goal 0 2>&1 | sed -n 's/ (.* s)$//p' | sort) || fail "three were not tried: $first"
again=$(mutate --count 3 --seed 7 --goal 0 2>&1 | sed -n 's/ (.* s)$//p' | sort)
[ -n "$first" ] && [ "$first" = "$again" ] || fail "the same seed chose $first, then $again"
[ "$(content)" = "$before" ] || fail "the tree was changed: $(diff <(echo "$before") <(content))"
