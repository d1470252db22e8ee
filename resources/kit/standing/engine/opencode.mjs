// OpenCode's events for the validator, and the validator's answers for OpenCode.
//
// The plugin that the installer puts into OpenCode's folder imports this file and hands on what
// OpenCode gives it, with the command that runs the validator. OpenCode 1 calls `server` and takes
// the hooks that it returns; OpenCode 2 calls `setup`, which asks for the hooks itself.
//
// After an edit the validator is told of it, and what it answers stands behind the tool's own
// output. At the end of a turn it is asked for the verdict; one that holds the work begins another
// turn of the same session, which is said to be one, so that it cannot begin a third. A subagent's
// edits belong to the session that the user sees. Nothing here raises: a validator that fails, is
// gone or says nothing leaves OpenCode as it would be without this file.

import {spawn} from "node:child_process";

const EDITS = new Set(["write", "edit", "multiedit", "patch", "apply_patch"]);
const NAMES_FILES = ["filePath", "path", "patchText", "patch"];  // arguments of the tools above
const MOST_SAID = 1 << 20;   // characters of an answer
const MOST_PARENTS = 8;      // of a session
const PATIENCE = 120_000;    // milliseconds for one answer; the validator gives up before that

// What the validator answers to an event: an object, empty when it is silent.
function asked(command, event) {
  return new Promise(resolve => {
    let said = "";
    const child = spawn("/bin/sh", ["-c", command],
                        {cwd: event.directory, stdio: ["pipe", "pipe", "ignore"]});
    const done = answer => {
      clearTimeout(tooLong);
      resolve(answer);
    };
    const tooLong = setTimeout(() => {
      child.kill();
      done({});  // what it started may still hold its output open
    }, PATIENCE);
    child.on("error", () => done({}));
    child.on("close", () => {
      try {
        done(Object(JSON.parse(said)));
      } catch {
        done({});
      }
    });
    child.stdin.on("error", () => {});
    child.stdout.setEncoding("utf8");
    child.stdout.on("data", piece => {
      said = (said + piece).slice(0, MOST_SAID);
    });
    child.stdin.end(JSON.stringify(event));
  });
}

// The arguments of a tool that name files, and no others: what is in a file is read where it lies.
function naming(given) {
  return Object.fromEntries(NAMES_FILES.filter(name => typeof given?.[name] === "string")
                              .map(name => [name, given[name]]));
}

// What one OpenCode tells, whichever version it is. `look(id)` finds a session's `parent` and
// `folder`, `prompt(session, text)` begins a turn, `show(text)` is for the user's eyes.
class Sessions {
  constructor(command, {look, prompt, show}) {
    Object.assign(this, {command, look, prompt, show});
    this.known = new Map();     // id -> {parent, folder}
    this.goingOn = new Set();   // sessions whose present turn is our doing
    this.stopped = new Set();   // sessions whose turn was stopped, or failed
    this.changed = new Set();   // sessions in which something was edited
  }

  async at(id) {
    try {
      if (!this.known.has(id)) this.known.set(id, await this.look(id));
    } catch {
      // it is asked about again at its next event
    }
    return this.known.get(id) ?? {};
  }

  // The session that the user sees.
  async root(id) {
    for (let count = 0; count < MOST_PARENTS; ++count) {
      const {parent} = await this.at(id);
      if (!parent) break;
      id = parent;
    }
    return id;
  }

  // Facts about an edit, for the agent; undefined when there are none.
  async edited(id, tool, given) {
    if (!EDITS.has(tool)) return undefined;
    const sessionID = await this.root(id);
    this.changed.add(sessionID);
    const {folder} = await this.at(id);
    const said = await asked(this.command, {event: "tool.execute.after", sessionID,
                                            directory: folder, tool, args: naming(given)});
    return typeof said.additionalContext === "string" ? said.additionalContext : undefined;
  }

  // The end of a turn, good or bad.
  async ended(id) {
    const stopped = this.stopped.delete(id), goingOn = this.goingOn.delete(id);
    if (stopped || (await this.at(id)).parent) return;
    const {folder} = await this.at(id);
    const said = await asked(this.command, {event: "session.idle", sessionID: id,
                                            directory: folder, going_on: goingOn});
    if (typeof said.reason === "string") {
      this.goingOn.add(id);
      try {
        await this.prompt(id, said.reason);
      } catch {
        this.goingOn.delete(id);  // the next turn is somebody else's
      }
    }
    if (typeof said.systemMessage === "string") await this.show(said.systemMessage);
  }
}

// OpenCode 1.
export async function server({client, directory}, command) {
  const turns = new Map();  // session -> who answers in it: the agent and the model
  const sessions = new Sessions(command, {
    look: async id => {
      const {data} = await client.session.get({path: {id}});
      return {parent: data?.parentID, folder: data?.directory ?? directory};
    },
    prompt: (id, text) => client.session.promptAsync(
      {path: {id}, body: {...turns.get(id), parts: [{type: "text", text}]}}),
    show: message => client.tui.showToast({body: {message, variant: "info"}}),
  });
  const handlers = {
    "session.idle": ({sessionID}) => sessions.ended(sessionID),
    "session.error": ({sessionID}) => sessions.stopped.add(sessionID),
  };
  return {
    "chat.message": async ({sessionID}, {message}) => {
      const {agent, model} = message ?? {};
      turns.set(sessionID, {...(agent && {agent}), ...(model && {model})});
      sessions.stopped.delete(sessionID);
    },
    "tool.execute.after": async ({tool, sessionID, args}, output) => {
      const facts = await sessions.edited(sessionID, tool, args).catch(() => undefined);
      if (facts && typeof output?.output === "string") output.output += "\n\n" + facts;
    },
    event: async ({event}) => {
      try {
        await handlers[event.type]?.(event.properties);
      } catch {
        // the session is gone, or OpenCode is about to end
      }
    },
  };
}

// OpenCode 2. Its events are those of every project that it serves, so only the sessions that were
// edited in here count.
export async function setup(ctx, command) {
  const sessions = new Sessions(command, {
    look: async sessionID => {
      const found = await ctx.session.get({sessionID});
      const {parentID, location} = found?.data ?? found ?? {};
      return {parent: parentID, folder: location?.directory ?? ctx.location?.directory};
    },
    prompt: (sessionID, text) => ctx.session.prompt({sessionID, text}),
    show: () => {},
  });
  const handlers = {
    "session.execution.succeeded": id => sessions.ended(id),
    "session.execution.failed": id => sessions.goingOn.delete(id),
    "session.execution.interrupted": id => sessions.goingOn.delete(id),
  };
  await ctx.tool.hook("execute.after", async event => {
    const facts = event.status === "error" ? undefined :
      await sessions.edited(event.sessionID, event.tool, event.input).catch(() => undefined);
    if (!facts) return;
    const {content} = event.result ?? {};
    event.result = {...event.result, content: Array.isArray(content) ?
      [...content, {type: "text", text: facts}] :
      [content, facts].filter(Boolean).join("\n\n")};
  });
  const lifetime = new AbortController();
  const listened = (async () => {
    try {
      for await (const {type, data} of ctx.event.subscribe({signal: lifetime.signal}))
        if (sessions.changed.has(data?.sessionID))
          Promise.resolve(handlers[type]?.(data.sessionID)).catch(() => {});
    } catch {
      // no more events: the edits are still told of
    }
  })();
  return async () => {
    lifetime.abort();
    await listened;
  };
}
