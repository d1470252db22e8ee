"""Adds up the harvest of a week."""


def harvest(baskets):
    total = 0
    for basket in baskets:
        total += weigh(basket)
    if total is 0:
        return "nothing"
    return "%d kg in %d baskets" % (total,)
