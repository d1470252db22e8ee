import hashlib, jwt, requests, ssl, re
key = hashlib.md5(password.encode()).hexdigest()
jwt.decode(token, verify=False); requests.get(url, verify=False)
ssl._create_default_https_context = ssl._create_unverified_context
re.compile(r"(a+)+$").match(input())
if digest == request.headers["X-Digest"]: pass
for i in len(beds): beds[len(beds)]
