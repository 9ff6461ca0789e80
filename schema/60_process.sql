-- Process data: operations beyond those of 21_hierarchy_refs.sql, work centres, the quality check
-- items of operations, and the lines of process routes. Operation ids stay clear of the ids of the
-- process categories, so that no leaf category and no operation share a tag.

-- Operations: in a leaf category, in the category under the code gap 09, under the root (类别ID 0)
-- and in a category that no longer exists (99), which also puts it under the root.
INSERT INTO KMDsr (工艺ID, 编号, 简称, 工艺名称, 工艺性质, 工时类型, 车间ID, 备注, 类别ID) VALUES
  (11, 'GX03', '精车', '精车内孔', '加工', '计件', 10, '', 4),
  (12, 'GX04', '', '外协电镀', '外协', '计件', 11, '表面处理', 10),
  (13, 'GX05', '包装', '成品包装', '辅助', '计时', 9, '', 0),
  (14, 'GX06', '', '零件清洗', '辅助', '计时', 9, '', 99);

-- Work centres; 是否系统 1 (or -1) marks one the system needs.
CREATE TABLE KMDGZZX (
  工作中心ID INTEGER PRIMARY KEY,
  工作中心代码 TEXT,
  工作中心名称 TEXT,
  部门ID INTEGER,
  每日班数 REAL,
  每班人数 REAL,
  每班小时数 REAL,
  每班设备数 REAL,
  利用率 REAL,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDGZZX (工作中心ID, 工作中心代码, 工作中心名称, 部门ID, 每日班数, 每班人数, 每班小时数, 每班设备数, 利用率, 是否系统) VALUES
  (1, 'WC01', '车床组', 10, 2, 6, 8, 4, 0.85, 1),
  (2, 'WC02', '装配线', 9, 1, 12, 8, 2, 0.9, 0),
  (3, 'WC03', '外协点', 11, 1, 3, 7.5, 1, 1, 0);

-- Quality check items of operations: two under 粗车外圆, one (of the system) under 整机装配.
CREATE TABLE KMDGYZJ (
  项目ID INTEGER PRIMARY KEY,
  质检项目 TEXT,
  说明 TEXT,
  工艺ID INTEGER,
  是否系统 INTEGER NOT NULL DEFAULT 0
);
INSERT INTO KMDGYZJ (项目ID, 质检项目, 说明, 工艺ID, 是否系统) VALUES
  (1, '外圆尺寸', '千分尺测量', 1, 0),
  (2, '表面粗糙度', 'Ra 3.2', 1, 0),
  (3, '装配间隙', '塞尺检查', 2, 1);

-- Lines of process routes (headers in KMDSRLX): one operation, its workshop and work centre, and
-- the hours of each line.
CREATE TABLE KMDSRLXMX (
  ID INTEGER PRIMARY KEY,
  srlxid INTEGER,
  顺序号 TEXT,
  工艺ID INTEGER,
  部门ID INTEGER,
  工作中心ID INTEGER,
  准备工时 REAL,
  加工工时 REAL,
  小时加工数 REAL,
  说明 TEXT
);
