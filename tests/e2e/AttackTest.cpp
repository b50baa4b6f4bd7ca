// Pages that mean harm, against the real program: what they do costs them, and nobody else.
#include "tests/support/SuiteTest.h"

#include <gtest/gtest.h>

namespace {

using AttackTest = test_support::SuiteTest;

TEST_F(AttackTest, NoPageSilencesTheChromeByWhatIsTooLarge) {
  runSuite("oversized.html");
}

TEST_F(AttackTest, NoPageSilencesTheChromeOrItsProcessByWhatIsTooLarge) {
  runSuite("oversized.html?process=1");
}

}  // namespace
