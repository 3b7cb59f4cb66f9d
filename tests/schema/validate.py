"""Every document against its schema; prints how many, and what is wrong."""

import sys
import warnings

warnings.simplefilter("ignore")
import schemas  # noqa: E402
import validate_output  # noqa: E402
import validate_state  # noqa: E402

if __name__ == "__main__":
    print(validate_state.run(), validate_output.run(), f"{len(schemas.faults)} faults", sep="\n")
    sys.stderr.writelines(f"{fault}\n" for fault in schemas.faults)
    sys.exit(1 if schemas.faults else 0)
