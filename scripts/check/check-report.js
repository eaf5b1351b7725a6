// Usage: node check-report.js BROWSER PAGE FOLDER; see check-report.
const puppeteer = require('puppeteer-core');
const axe = require('axe-core');

const [browserPath, page, folder] = process.argv.slice(2);
let failures = 0;
const fail = (text) => { console.log(`check-report: ${text}`); failures += 1; };

async function look(browser, width, scheme) {
  const tab = await browser.newPage();
  const where = `${width} px, ${scheme}`;
  tab.on('console', (message) => fail(`${where}: console: ${message.text()}`));
  tab.on('pageerror', (error) => fail(`${where}: ${error.message}`));
  tab.on('request', (request) => {
    if (!/^(file|data):/.test(request.url())) fail(`${where}: asks for ${request.url()}`);
  });
  await tab.setViewport({width, height: 900, isMobile: width < 500, hasTouch: width < 500});
  await tab.emulateMediaFeatures([{name: 'prefers-color-scheme', value: scheme}]);
  await tab.goto(`file://${page}`);
  const wide = await tab.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);
  if (wide > 0) fail(`${where}: ${wide} px wider than the screen`);
  await tab.screenshot({path: `${folder}/${width}-${scheme}.png`, fullPage: true});
  await tab.evaluate(axe.source);
  const result = await tab.evaluate(() => axe.run({resultTypes: ['violations']}));
  for (const violation of result.violations) {
    fail(`${where}: ${violation.id}: ${violation.help} (${violation.nodes.length} times, ` +
         `first ${violation.nodes[0].target})`);
  }
  await tab.close();
  return result.passes.length;
}

// The first key press reaches the link that skips to the content, and it is seen.
async function use_keyboard(browser) {
  const tab = await browser.newPage();
  await tab.goto(`file://${page}`);
  await tab.keyboard.press('Tab');
  const first = await tab.evaluate(() => {
    const box = document.activeElement.getBoundingClientRect();
    return {name: document.activeElement.className, x: box.x};
  });
  if (first.name !== 'skip' || first.x < 0) fail('the first Tab does not show the skip link');
  await tab.pdf({path: `${folder}/print.pdf`});
  await tab.close();
}

(async () => {
  const browser = await puppeteer.launch(
      {executablePath: browserPath, args: process.getuid() === 0 ? ['--no-sandbox'] : []});
  let rules = 0;
  for (const width of [1280, 375]) {
    for (const scheme of ['light', 'dark']) rules += await look(browser, width, scheme);
  }
  await use_keyboard(browser);
  await browser.close();
  if (rules === 0) fail('axe has looked at nothing');
  console.log(`check-report: ${failures} findings, ${rules} rules of axe passed; screenshots in ${folder}`);
  process.exit(failures > 0 ? 1 : 0);
})();
