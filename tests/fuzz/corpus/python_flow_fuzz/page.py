from flask import Flask, request, redirect, Markup
app = Flask(__name__)

@app.route("/bed/<name>")
def bed(name):
    row = request.args.get("row") or "1"
    if row not in ("1", "2"):
        row = f"{name}-{row}"
    db.execute("select * from beds where row = '%s'" % row)
    return Markup("<b>" + name + "</b>")
