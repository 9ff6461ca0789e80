-- Process routes: the wage a unit of a product earns in an operation (pagzde; 工作中心ID 0 or less
-- is a wage for any work centre, 比率 and 工艺价 split it), and the demo routes' lines and wages.
CREATE TABLE pagzde (
  ID INTEGER PRIMARY KEY,
  工序ID INTEGER,
  产品ID INTEGER,
  工作中心ID INTEGER NOT NULL DEFAULT 0,
  品质 TEXT DEFAULT '',
  单位工资 REAL NOT NULL DEFAULT 0,
  比率 REAL NOT NULL DEFAULT 0,
  工艺价 REAL NOT NULL DEFAULT 0
);
CREATE INDEX pagzde_工序产品 ON pagzde (工序ID, 产品ID);

-- A second route, of 钢管, which is not its product's route: the product keeps none.
INSERT INTO KMDSRLX (ID, 路线名称, 日期, 工作编号, 说明, 产品ID, 是否标准, 是否失效, 是否系统, 是否关键路线) VALUES
  (2, '钢管加工路线', '2026-02-10', 'W002', '试行', 2, 0, 0, 0, 0);

INSERT INTO KMDSRLXMX (ID, srlxid, 顺序号, 工艺ID, 部门ID, 工作中心ID, 准备工时, 加工工时, 小时加工数, 说明) VALUES
  (11, 1, '0010', 2, 9, 2, 0.5, 1.25, 8, ''),
  (12, 1, '0020', 13, 9, 2, 0, 0.2, 40, '装箱'),
  (13, 2, '0010', 1, 10, 1, 1, 0.75, 12, ''),
  (14, 2, '0020', 11, 10, 1, 0.5, 0.5, 20, '');

INSERT INTO pagzde (ID, 工序ID, 产品ID, 工作中心ID, 品质, 单位工资, 比率, 工艺价) VALUES
  (1, 2, 4, 0, '', 3.5, 1, 3.5),
  (2, 13, 4, 0, '', 0.4, 1, 0.4),
  (3, 1, 2, 0, '', 1.2, 1, 1.2);
