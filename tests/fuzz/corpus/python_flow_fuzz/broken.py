class A(B, metaclass=C):
  @d
  async def f(self, a: int = 1, /, *, b) -> "x":
    async with a as (b, [c]): await open(b)
    return f"{a!r:>{b}}" f"{{}}"
 def g(
