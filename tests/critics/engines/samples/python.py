"""Waters the beds."""


def water(beds:
    for bed in beds:
        bed.open()
