#!/usr/bin/env python3
"""Tells headers of the standard library that a file includes and uses nothing of.

    check-includes.py FILE...      one line a finding; the status is 1 when there is one

It looks for the header's names in the text, comments left out. So it overlooks a stale include where another header has the
same name, and knows only the headers below; what it reports is stale.
"""
import re
import sys

# What stands in a file that needs the header.
NAMES = {
    "algorithm": r"std::(ranges::)?(adjacent_find|all_of|any_of|binary_search|clamp|copy|count|equal|fill|find|for_each|generate"
                 r"|is_sorted|lower_bound|max|min|mismatch|move\(|none_of|partition|remove|replace|reverse|rotate|search|shuffle"
                 r"|sort|stable_sort|swap_ranges|transform|unique|upper_bound)|ranges::",
    "array": r"std::(array|to_array)",
    "atomic": r"std::atomic",
    "charconv": r"(from|to)_chars",
    "chrono": r"chrono",
    "cmath": r"std::(abs|ceil|copysign|exp|fabs|floor|fmod|frexp|is(finite|inf|nan|normal)|ldexp|llround|log|lround|modf|nan|nearbyint|nextafter|pow"
             r"|remainder|rint|round|signbit|sin|sqrt|trunc)|HUGE_VAL|NAN|INFINITY",
    "compare": r"<=>|_ordering",
    "condition_variable": r"condition_variable",
    "csignal": r"signal|SIG|kill",
    "cstdint": r"int(ptr|max|_fast|_least)?\d*_t|INT\d",
    "deque": r"std::deque",
    "exception": r"std::(exception|current_exception|rethrow|uncaught|terminate|make_exception)",
    "filesystem": r"filesystem",
    "fstream": r"std::(basic_)?(i|o)?fstream",
    "functional": r"std::(bind|cref|equal_to|function|greater|hash|invoke|less|mem_fn|plus|ref)",
    "iostream": r"std::(cout|cerr|cin)",
    "limits": r"numeric_limits",
    "list": r"std::list",
    "map": r"std::(multi)?map",
    "memory": r"std::(addressof|dynamic_pointer_cast|enable_shared|make_shared|make_unique|shared_ptr|static_pointer_cast"
              r"|unique_ptr|weak_ptr)",
    "mutex": r"std::(call_once|lock_guard|mutex|once|scoped_lock|unique_lock)",
    "numeric": r"std::(accumulate|gcd|inner_product|iota|reduce|transform_reduce)",
    "optional": r"std::(make_optional|nullopt|optional)",
    "random": r"std::(default_random|mt19937|normal|random_device|uniform)",
    "regex": r"regex",
    "set": r"std::(multi)?set",
    "span": r"std::(as_\w*bytes|span)",
    "sstream": r"stringstream",
    "string": r"std::(char_traits|getline|sto[a-z]+\(|string|to_string|u16string|u32string|wstring)",
    "string_view": r"string_view",
    "thread": r"std::(jthread|this_thread|thread)",
    "unordered_map": r"unordered_map",
    "unordered_set": r"unordered_set",
    "utility": r"std::(as_const|cmp_|declval|exchange|forward|in_place|index_sequence|make_pair|move|pair|swap|unreachable)",
    "variant": r"std::(get|holds_alternative|monostate|variant|visit)",
    "vector": r"std::vector",
}


def stale_includes(text):
    """The names of the headers of a source text that nothing in it needs."""
    code = re.sub(r"//.*", "", re.sub(r"#include.*", "", text))
    included = re.findall(r"^#include <([a-z_]+)>", text, re.MULTILINE)
    return [name for name in included if name in NAMES and not re.search(NAMES[name], code)]


def main():
    status = 0
    for path in sys.argv[1:]:
        with open(path, encoding="utf-8", errors="replace") as file:
            for name in stale_includes(file.read()):
                print(f"{path}: nothing of <{name}> is used")
                status = 1
    return status


if __name__ == "__main__":
    sys.exit(main())
