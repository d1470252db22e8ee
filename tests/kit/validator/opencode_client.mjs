// OpenCode, as far as the plugin sees of it:
//
//   node opencode_client.mjs ENGINE VERSION COMMAND FOLDER < STEPS
//
// ENGINE is the plugin's module, VERSION 1 or 2, COMMAND what runs the validator, FOLDER the project. STEPS is a
// list in JSON, done one after the other:
//
//   ["edit", SESSION, TOOL, ARGUMENTS, FILE, CONTENT]   writes the file, then tells that the tool did
//   ["end", SESSION]         a turn ends well; waits until the validator has answered
//   ["end unasked", SESSION] the same where it is not asked
//   ["stop", SESSION]        the user stops a turn
//
// Written at the end, as one line of JSON: the outputs of the tools, the turns that were begun, and
// what the user was shown. Session "child" is a subagent's of session "s1", session "gone" is none.

import processes from "node:child_process";
import {writeFileSync} from "node:fs";
import {syncBuiltinESMExports} from "node:module";
import path from "node:path";
import {pathToFileURL} from "node:url";

let answered = 0;  // times
const {spawn} = processes;
processes.spawn = (...given) => spawn(...given).on("close", () => ++answered);
syncBuiltinESMExports();

const [engine, version, command, folder] = process.argv.slice(2);
const plugin = await import(pathToFileURL(engine).href);
const steps = JSON.parse(await new Response(process.stdin).text());
const found = {outputs: [], prompts: [], shown: []};
const session = id => {
  if (id === "gone") throw new Error("no such session");
  return {id, parentID: id === "child" ? "s1" : undefined};
};
const until = async holds => {
  while (!holds()) await new Promise(resolve => setTimeout(resolve, 5));
};

let edited, ended, stopped;
if (version === "1") {
  const hooks = await plugin.server({directory: folder, client: {
    session: {
      get: async ({path: {id}}) => ({data: {...session(id), directory: folder}}),
      promptAsync: async ({path: {id}, body}) => void found.prompts.push({id, ...body,
                                                                           text: body.parts[0].text}),
    },
    tui: {showToast: async ({body}) => void found.shown.push(body.message)},
  }}, command);
  await hooks["chat.message"]({sessionID: "s1"},
                              {message: {agent: "plan", model: {providerID: "p", modelID: "m"}}, parts: []});
  edited = async (sessionID, tool, args) => {
    const output = {title: "t", output: "done", metadata: {}};
    await hooks["tool.execute.after"]({tool, sessionID, callID: "c", args}, output);
    return output.output;
  };
  const event = (type, properties) => hooks.event({event: {id: "e", type, properties}});
  ended = async sessionID => {
    await event("session.status", {sessionID, status: {type: "idle"}});
    await event("session.idle", {sessionID});
  };
  stopped = async sessionID => {
    await event("session.error", {sessionID, error: {name: "MessageAbortedError", data: {}}});
    await ended(sessionID);
  };
} else {
  const queue = [], hooks = {};
  let wake = () => {};
  const tell = (type, sessionID) => {
    queue.push({id: "e", type, data: {sessionID}});
    wake();
  };
  await plugin.setup({
    location: {directory: folder}, options: {},
    session: {
      get: async ({sessionID}) => ({...session(sessionID), location: {directory: folder}}),
      prompt: async ({sessionID: id, text}) => void found.prompts.push({id, text}),
    },
    tool: {hook: async (name, callback) => void (hooks[name] = callback)},
    event: {async *subscribe({signal}) {
      for (;;) {
        while (queue.length) yield queue.shift();
        if (signal.aborted) return;
        await new Promise(resolve => (wake = resolve));
      }
    }},
  }, command);
  edited = async (sessionID, tool, input) => {
    const event = {tool, sessionID, agent: "build", messageID: "m", id: "c", input, status: "completed",
                   result: {content: tool === "write" ? [{type: "text", text: "done"}] : "done"}};
    await hooks["execute.after"](event);
    const {content} = event.result;
    return Array.isArray(content) ? content.map(part => part.text).join("\n\n") : content;
  };
  ended = async sessionID => tell("session.execution.succeeded", sessionID);
  stopped = async sessionID => tell("session.execution.interrupted", sessionID);
}

for (const [what, ...given] of steps) {
  if (what === "edit") {
    const [id, tool, args, file, content] = given;
    writeFileSync(path.join(folder, file), content);
    found.outputs.push(await edited(id, tool, args));
  } else if (what === "end") {
    const before = answered;
    await ended(given[0]);
    await until(() => answered > before);
  } else {
    await (what === "stop" ? stopped : ended)(given[0]);
  }
}
process.stdout.write(JSON.stringify(found) + "\n", () => process.exit(0));
