// Man pages and shell completion.
#include <gtest/gtest.h>
