// An MCP client made of one of the official SDKs, which asks the server for everything that it has:
//
//   node sdk_client.mjs SDK ERA COMMAND ARGUMENT...
//
// SDK is the folder that npm installed the SDK into, ERA "v1" (whose only era is the legacy one),
// "legacy", "auto" or "modern". What came of it is one line of JSON. The SDK holds structured answers
// against the schemas that the server gave, and listens in the way of the era.

import {createRequire} from "node:module";
import {pathToFileURL} from "node:url";
import path from "node:path";

const [sdk, era, command, ...args] = process.argv.slice(2);
const require = createRequire(path.join(sdk, "package.json"));
const load = name => import(pathToFileURL(require.resolve(name)).href);
let Client, StdioClientTransport;
if (era === "v1") {
  ({Client} = await load("@modelcontextprotocol/sdk/client/index.js"));
  ({StdioClientTransport} = await load("@modelcontextprotocol/sdk/client/stdio.js"));
} else {
  ({Client} = await load("@modelcontextprotocol/client"));
  ({StdioClientTransport} = await load("@modelcontextprotocol/client/stdio"));
}
let heard;  // the resources, as soon as the server says that there are others
const changed = new Promise(resolve => (heard = resolve));
const options = {
  ...(era !== "v1" && {versionNegotiation: {mode: era === "modern" ? {pin: "2026-07-28"} : era}}),
  listChanged: {resources: {onChanged: (error, resources) => heard(error ? [error] : resources)}},
};
const client = new Client({name: "test", version: "1"}, options);
await client.connect(new StdioClientTransport({command, args, env: process.env}));
const tools = (await client.listTools()).tools;
const status = await client.callTool({name: "status", arguments: {}});
const resources = (await client.listResources()).resources;
const templates = (await client.listResourceTemplates()).resourceTemplates;
const rules = await client.readResource({uri: "trevix://rules"});
const graded = await client.callTool({name: "grade", arguments: {text: "x = 1\n", name: "a.py"}});
const listed = (await changed).map(resource => resource.uri ?? String(resource));
const report = await client.readResource({uri: "trevix://runs/" + graded.structuredContent.run_id});
let missing = null;
try {
  await client.readResource({uri: "trevix://runs/none/none"});
} catch (error) {
  missing = error.code ?? error.constructor.name;
}
console.log(JSON.stringify({
  version: client.getServerVersion()?.name,
  era: client.getNegotiatedProtocolVersion?.() ?? null,
  tools: tools.map(tool => tool.name),
  structured: status.structuredContent?.version ?? null,
  resources: resources.map(resource => resource.uri),
  templates: templates.map(template => template.uriTemplate),
  rules: rules.contents[0].text.length > 0,
  graded: graded.structuredContent,
  listed,
  report: JSON.parse(report.contents[0].text),
  missing,
}));
await client.close();
