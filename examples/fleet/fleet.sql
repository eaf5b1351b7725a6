-- Exports of texprobectl in PostgreSQL (13 or newer), as jsonb, and three views of them. Needs no superuser.
--   psql -f examples/fleet/fleet.sql
--   examples/fleet/load-exports FOLDER
-- A machine is a file: n1.json is the machine n1. Loading it again replaces it.

CREATE TABLE fleet_exports (machine text PRIMARY KEY, document jsonb NOT NULL);

-- One line of load-exports: the machine, and its document as text.
CREATE TABLE fleet_lines (machine text, document text);

-- The needs of the fleet's owner, for fleet_excluded: rows such as ('GL_RGBA16F_ARB', 'download_read').
CREATE TABLE fleet_wanted (format text, capability text, PRIMARY KEY (format, capability));

-- Moves the lines into the exports, all or none, and returns how many there were. A document that is not one is named.
CREATE FUNCTION fleet_take_lines() RETURNS bigint LANGUAGE plpgsql AS $$
DECLARE
    line fleet_lines;
    parsed jsonb;
    taken bigint := 0;
BEGIN
    FOR line IN SELECT * FROM fleet_lines LOOP
        BEGIN
            parsed := line.document;
        EXCEPTION WHEN invalid_text_representation OR untranslatable_character THEN
            RAISE EXCEPTION '%.json is damaged: it is not JSON', line.machine;
        END;
        IF (parsed ->> 'schema', parsed ->> 'schema_version' IN ('1', '2'), jsonb_typeof(parsed -> 'record_sets'))
           IS DISTINCT FROM ('texprobe-records', true, 'array') THEN
            RAISE EXCEPTION '%.json is not a document of texprobectl export that this understands', line.machine;
        END IF;
        INSERT INTO fleet_exports VALUES (line.machine, parsed)
            ON CONFLICT (machine) DO UPDATE SET document = excluded.document;
        taken := taken + 1;
    END LOOP;
    DELETE FROM fleet_lines;
    RETURN taken;
END $$;

-- The numbers of a driver's version, which compare as they should: 4.5 Mesa 9.2.5 is {4,5,9,2,5}, older than 22.3.6.
CREATE FUNCTION fleet_version(gl_version text) RETURNS numeric[] LANGUAGE sql IMMUTABLE AS $$
    SELECT array_agg(number::numeric ORDER BY word.place, part.place)
    FROM regexp_split_to_table(gl_version, '[^0-9A-Za-z.]+') WITH ORDINALITY AS word (word, place),
         regexp_split_to_table(word, '\.') WITH ORDINALITY AS part (number, place)
    WHERE word ~ '^[0-9]+(\.[0-9]+)*$'
$$;

-- One row for each verdict of each machine. present: of the build that the machine had when it was exported.
CREATE VIEW fleet_verdicts AS
SELECT machine, set ->> 'renderer_id' AS renderer_id, coalesce(set ->> 'renderer', 'unknown') AS renderer,
       set ->> 'gl_version' AS gl_version, (set ->> 'present')::boolean AS present,
       format ->> 'name' AS format, capability, verdict
FROM fleet_exports
CROSS JOIN jsonb_array_elements(document -> 'record_sets') AS set
CROSS JOIN jsonb_array_elements(set -> 'formats') AS format
CROSS JOIN LATERAL (VALUES
    ('supported', format ->> 'supported'), ('renderable', format ->> 'renderable'),
    ('upload_set', format ->> 'upload_set'), ('upload_reset', format ->> 'upload_reset'),
    ('download_get', format ->> 'download_get'), ('download_read', format ->> 'download_read')
) AS tested (capability, verdict);

-- On how many machines, and on what share of those with this renderer, a capability has a verdict.
CREATE VIEW fleet_shares AS
SELECT renderer_id, renderer, format, capability, verdict, count(DISTINCT machine) AS machines,
       round(100.0 * count(DISTINCT machine)
             / sum(count(DISTINCT machine)) OVER (PARTITION BY renderer_id, renderer, format, capability), 1) AS percent
FROM fleet_verdicts
WHERE present
GROUP BY renderer_id, renderer, format, capability, verdict;

-- What worked on all machines with the version before, and does not on some with this one. Crashes and hangs count as
-- not working, and so does a capability that needs another one that does not work. Untested verdicts say nothing.
CREATE VIEW fleet_broken AS
WITH machines AS (
    SELECT renderer_id, max(renderer) AS renderer, format, capability, gl_version, bool_and(verdict = 'yes') AS works
    FROM fleet_verdicts
    WHERE verdict <> 'unmeasured' AND gl_version IS NOT NULL
    GROUP BY renderer_id, format, capability, gl_version, machine
), versions AS (
    SELECT renderer_id, max(renderer) AS renderer, format, capability, gl_version,
           count(*) FILTER (WHERE NOT works) AS machines_broken, count(*) AS machines
    FROM machines
    GROUP BY renderer_id, format, capability, gl_version
), steps AS (
    SELECT *, lag(gl_version) OVER older AS works_in, lag(machines_broken) OVER older AS broken_before
    FROM versions
    WINDOW older AS (PARTITION BY renderer_id, format, capability ORDER BY fleet_version(gl_version))
)
SELECT renderer_id, renderer, format, capability, works_in, gl_version AS broken_in, machines_broken, machines
FROM steps
WHERE broken_before = 0 AND machines_broken > 0;

-- Renderers and versions on which something that is wanted does not work, or is in doubt, on any machine.
CREATE VIEW fleet_excluded AS
SELECT renderer_id, renderer, gl_version, count(DISTINCT machine) AS machines,
       string_agg(DISTINCT format || ' ' || capability || ' ' || verdict, ', ') AS reasons
FROM fleet_verdicts JOIN fleet_wanted USING (format, capability)
WHERE present AND verdict <> 'yes'
GROUP BY renderer_id, renderer, gl_version;
