"""The time from SIGSTOP of a supervised process to its replacement running, with the default
heartbeat interval: hang_latency [ROUNDS], 20 unless given; on the bench device."""

import random
import statistics
import sys
import time

from stories.device import Failed, wait_for
from stories.terminal import progress, say
from stories.world import World


def latency(world: World) -> float:
    """In milliseconds, of one hang."""
    old = world.pid("streamer")
    time.sleep(random.uniform(4, 5))  # past the start-up time, any phase of loop and heartbeat
    start = time.monotonic()
    world.device.run(f"kill -STOP {old}")
    if not wait_for(20, lambda: world.runs("streamer", "1.0.0", instead_of=old)):
        raise Failed("streamer was not started again")
    return (time.monotonic() - start) * 1000


def main(rounds: int = 20) -> None:
    world = World("bootstrap_interval=4\n")
    world.publish("streamer", "1.0.0", maxretries=1_000_000)
    world.cloud.serve()
    world.host.start()
    wait_for(20, lambda: world.runs("streamer", "1.0.0"))
    times: list[float] = []
    for number in range(rounds):
        progress(f"hang {number + 1} of {rounds}")
        times.append(latency(world))
        say(f"{times[-1]:.0f} ms")
    say(f"median {statistics.median(times):.0f} ms, worst {max(times):.0f} ms over {rounds}")


if __name__ == "__main__":
    main(*(int(word) for word in sys.argv[1:]))
