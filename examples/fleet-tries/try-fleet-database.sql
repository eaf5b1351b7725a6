-- What examples/fleet-tries/try-fleet-database asks. All but for "yes on all 4000 machines", which is only counted.

\echo shares
SELECT renderer, format, capability, verdict, machines, percent FROM fleet_shares
WHERE NOT (verdict = 'yes' AND machines = 4000) ORDER BY renderer, format COLLATE "C", capability, verdict;
SELECT count(*) FROM fleet_shares WHERE verdict = 'yes' AND machines = 4000 AND percent = 100;

\echo broken
SELECT renderer, format, capability, works_in, broken_in, machines_broken, machines FROM fleet_broken
ORDER BY renderer, format COLLATE "C", capability;

\echo excluded
INSERT INTO fleet_wanted VALUES ('GL_RGBA8', 'upload_set'), ('GL_RGBA8', 'upload_reset'),
    ('GL_RGBA32F_ARB', 'download_read');
SELECT renderer, gl_version, machines, reasons FROM fleet_excluded ORDER BY renderer, fleet_version(gl_version);
