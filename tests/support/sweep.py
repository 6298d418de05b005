"""How many repetitions a test makes: the count of the full sweep, scaled by KIV_SWEEP.

"full" once, "torture" ten times, anything else (the daily check, sanitizer builds) a tenth.
Tests run by run_unittest.py can `import sweep`.
"""
import os


def count(full_count):
    scale = {"full": 10, "torture": 100}.get(os.environ.get("KIV_SWEEP"), 1)
    return max(1, full_count * scale // 10)
