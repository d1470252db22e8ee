def a(x):
    return b(x) + (lambda y: a(y))(x)
def b(x):
    while x:
        x = a(x) if x else {k: v for k, v in x}
        if (n := x[0]): break
    else:
        x += n
    return x
print(a(input()), b(b(b(input()))))
global q; q = q.q[q](q)
