-- The counts of each verdict, added up from single runs and the nodes' plan, and those of texprobectl merge: what differs.

CREATE TABLE plan (node, driver, internal_format, capability_index, signal, format, capability, outcome);
.mode csv
.import plan.csv plan
.mode list

ATTACH 'single/llvmpipe/records/records.sqlite3' AS llvmpipe;
ATTACH 'single/softpipe/records/records.sqlite3' AS softpipe;
ATTACH 'single/zink/records/records.sqlite3' AS zink;
CREATE TABLE single AS
    SELECT 'llvmpipe' AS driver, key, value FROM llvmpipe.records WHERE type = 'boolean'
    UNION ALL SELECT 'softpipe', key, value FROM softpipe.records WHERE type = 'boolean'
    UNION ALL SELECT 'zink', key, value FROM zink.records WHERE type = 'boolean';

CREATE TABLE capabilities (capability);
INSERT INTO capabilities VALUES ('SUPPORTED'), ('RENDERABLE'), ('UPLOAD_SET'), ('UPLOAD_RESET'), ('DOWNLOAD_GET'),
    ('DOWNLOAD_READ');
CREATE TABLE formats AS
    SELECT DISTINCT replace(key, '_SUPPORTED', '') AS format FROM single WHERE key LIKE '%\_SUPPORTED' ESCAPE '\';

-- A test without a record needs something that does not work.
CREATE TABLE expected AS
    SELECT format, capability, verdict, count(*) AS nodes
    FROM (SELECT formats.format, capabilities.capability,
                 CASE WHEN plan.format = formats.format AND plan.capability = capabilities.capability THEN plan.outcome
                      WHEN single.value IS NULL THEN 'not_applicable'
                      WHEN single.value = 1 THEN 'yes'
                      ELSE 'no' END AS verdict
          FROM plan CROSS JOIN formats CROSS JOIN capabilities
          LEFT JOIN single ON single.driver = plan.driver
                          AND single.key = formats.format || '_' || capabilities.capability)
    GROUP BY format, capability, verdict;

-- The noes of the test itself are among the noes: no driver meets it in these.
INSERT INTO expected SELECT format, capability, 'no_of_test', nodes FROM expected
    WHERE verdict = 'no' AND (format LIKE '%LUMINANCE%ALPHA%' AND capability LIKE 'DOWNLOAD%'
                              OR format = 'GL_RGBA16' AND capability LIKE 'UPLOAD%');

CREATE TABLE merged AS
    SELECT json_extract(format.value, '$.name') AS format, upper(capability.key) AS capability, verdict.key AS verdict,
           verdict.value AS nodes
    FROM json_each(readfile('merged.json'), '$.formats') AS format, json_each(format.value) AS capability,
         json_each(capability.value) AS verdict
    WHERE capability.type = 'object' AND verdict.value > 0;

SELECT 'expected', * FROM (SELECT * FROM expected EXCEPT SELECT * FROM merged);
SELECT 'merged', * FROM (SELECT * FROM merged EXCEPT SELECT * FROM expected);
SELECT 'only ' || count(*) || ' counts' FROM expected WHERE verdict <> 'no_of_test' HAVING sum(nodes) <> 8 * 96;
