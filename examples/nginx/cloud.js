// The two calls of the device API, over the folder that `tolvar-cloud publish` writes. Who a device
// is it does not ask: `processes` would be the place to look at "mac" and "enr".
import fs from 'fs';

function answer(r, status, text) {
  r.headersOut['Content-Type'] = 'application/json';
  r.return(status, text);
}

function refuse(r, status, message) {
  answer(r, status, JSON.stringify({error: {code: status, message: message}}));
}

function isPlain(name) {
  return typeof name === 'string' && name !== '' && name !== '.' && name !== '..' &&
      name.indexOf('/') < 0 && name.indexOf('\0') < 0;
}

function asked(r) {
  try {
    return JSON.parse(r.requestText) || {};
  } catch (error) {
    return {};
  }
}

function only(name, text) {
  const manifest = JSON.parse(text);
  manifest.data.processes = manifest.data.processes.filter((entry) => entry.processname === name);
  return JSON.stringify(manifest);
}

function processes(r) {
  const fields = asked(r);
  const name = fields.processname;
  if (!isPlain(fields.version) || typeof name !== 'string') return refuse(r, 400, 'no request');
  try {
    const path = r.variables.releases + '/' + fields.version + '/manifest.json';
    const text = fs.readFileSync(path, 'utf8');
    answer(r, 200, name === '' ? text : only(name, text));
  } catch (error) {
    refuse(r, 404, 'no manifest for label "' + fields.version + '"');
  }
}

function location(r) {
  const fields = asked(r);
  if (!isPlain(fields.filename) || !isPlain(fields.version)) return refuse(r, 400, 'no request');
  try {
    fs.accessSync(r.variables.releases + '/files/' + fields.filename + '/' + fields.version);
  } catch (error) {
    return refuse(r, 404, 'no such file');
  }
  const place = encodeURIComponent(fields.filename) + '/' + encodeURIComponent(fields.version);
  answer(r, 200, JSON.stringify({data: {
    filename: fields.filename,
    version: fields.version,
    url: r.variables.files_url + '/' + place,
  }}));
}

export default {processes, location};
